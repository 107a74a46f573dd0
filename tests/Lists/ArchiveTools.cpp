#include "tests/Lists/ArchiveTools.h"

#include "Lists/ByteSource.h"

#include <algorithm>
#include <random>

namespace Qcf::Lists::test {

Content contentOf(String const & compressed, U32 threads, std::size_t piece) {
    return contentOf(makeMemoryStream(compressed), threads, piece);
}

Content contentOf(std::unique_ptr<ByteStream> from, U32 threads, std::size_t piece) {
    ByteSource source(std::move(from), threads);
    Content content;
    while (source.ensure(1)) {
        std::size_t const size = std::min(source.available(), piece);
        content.bytes.append(reinterpret_cast<char const *>(source.data()), size);
        source.skip(size);
    }
    content.fault = source.fault();
    content.note = source.note();
    return content;
}

String someBytes(std::size_t size, U32 seed) {
    std::mt19937 random(seed);
    String bytes;
    while (bytes.size() < size) {
        // Runs, repeats and noise.
        bytes.append(random() % 8, static_cast<char>(random() % 4));
        bytes.append(bytes, bytes.size() - std::min<std::size_t>(bytes.size(), random() % 3000),
                     random() % 40);
        for (auto noise = random() % 12; noise > 0; --noise) {
            bytes += static_cast<char>(random());
        }
    }
    bytes.resize(size);
    return bytes;
}

} // namespace Qcf::Lists::test
