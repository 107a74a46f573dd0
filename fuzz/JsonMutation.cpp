#include "fuzz/JsonMutation.h"

#include "tests/Documents/JsonMutator.h"

#include <algorithm>

using Qcf::Documents::test::JsonMutator;

extern "C" std::size_t LLVMFuzzerMutate(U8 * data, std::size_t size, std::size_t maxSize);

namespace {

String textOf(U8 const * data, std::size_t size) {
    return {reinterpret_cast<char const *>(data), size};
}

/// Puts what `change` makes of the text in `out`, once that is something else and of use; 0 where
/// it never is.
template <typename Change>
std::size_t changed(String const & text, U8 * out, std::size_t maxSize, Change const & change) {
    for (U32 tries = 0; tries < 10; ++tries) {
        String const result = change(text);
        bool const fits = !result.empty() && result.size() <= maxSize && result != text;
        if (fits && (isOfUse == nullptr || isOfUse(result))) {
            std::copy(result.begin(), result.end(), out);
            return result.size();
        }
    }
    return 0;
}

} // namespace

/// Every other change is one of bytes, unless most of what that makes is of no use.
extern "C" std::size_t LLVMFuzzerCustomMutator(U8 * data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
    if (isOfUse == nullptr && seed % 2 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    JsonMutator mutator(seed);
    std::size_t const result = changed(textOf(data, size), data, maxSize,
                                       [&](String const & text) { return mutator.mutate(text); });
    if (result == 0 && isOfUse == nullptr) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    return result == 0 ? size : result;
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(U8 const * data, std::size_t size,
                                                 U8 const * otherData, std::size_t otherSize,
                                                 U8 * out, std::size_t maxSize, unsigned seed) {
    JsonMutator mutator(seed);
    String const other = textOf(otherData, otherSize);
    return changed(textOf(data, size), out, maxSize,
                   [&](String const & text) { return mutator.cross(text, other); });
}
