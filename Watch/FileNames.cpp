#include "Watch/FileNames.h"

#include <filesystem>

namespace Qcf::Watch {

String plainPath(String const & path) {
    std::error_code error;
    String plain = std::filesystem::path(path).lexically_normal().string();
    bool const isSame = std::filesystem::equivalent(plain, path, error);
    return isSame || error ? plain : path;
}

String const & FileNames::of(String const & path) {
    auto const [known, isNew] = byPath_.try_emplace(path);
    if (isNew) {
        std::error_code error;
        auto const whole = std::filesystem::weakly_canonical(path, error);
        known->second =
            byFile_.try_emplace(error ? path : whole.string(), plainPath(path)).first->second;
    }
    return known->second;
}

} // namespace Qcf::Watch
