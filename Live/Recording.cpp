#include "Live/Recording.h"

#include "Platform/Routing/TextPieces.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace Qcf::Live {

namespace {

/// Names come from the wire: none may lead out of the folder, and two routers never share a file.
String fileName(String const & router) {
    constexpr std::size_t longest = 180;
    constexpr char const * digits = "0123456789ABCDEF";
    String name;
    for (char const c : router) {
        auto const byte = static_cast<U8>(c);
        bool const isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                             (c >= '0' && c <= '9') || c == '-' || c == '_' || c == ':' ||
                             (c == '.' && !name.empty());
        name += isPlain ? String(1, c) : String{'%', digits[byte >> 4U], digits[byte & 15U]};
    }
    if (name.size() > longest) {
        String const hash = std::to_string(std::hash<String>()(router));
        name = name.substr(0, longest - hash.size() - 1) + '+' + hash;
    }
    return name;
}

/// The number of a router's file; 0 for another file.
U64 numberOf(String const & file, String const & name) {
    constexpr std::string_view ending = ".bmp";
    if (!file.starts_with(name + '.') || !file.ends_with(ending) ||
        file.size() <= name.size() + 1 + ending.size()) {
        return 0;
    }
    std::size_t const begin = name.size() + 1;
    auto const number = Routing::TextPieces::parseDecimal(
        std::string_view(file).substr(begin, file.size() - begin - ending.size()), 999'999'999);
    return number.value_or(0);
}

U64 lastNumber(String const & folder, String const & name) {
    U64 last = 0;
    std::error_code error;
    for (auto const & entry : std::filesystem::directory_iterator(folder, error)) {
        last = std::max(last, numberOf(entry.path().filename().string(), name));
    }
    if (error) {
        throw std::runtime_error(folder + ": " + error.message());
    }
    return last;
}

} // namespace

Recording::Recording(String folder, String const & router, U64 mostBytes)
    : folder_(std::move(folder)),
      name_(fileName(router)),
      mostBytes_(mostBytes),
      number_(lastNumber(folder_, name_)) {
    next();
}

String Recording::pathOf(U64 number) const {
    // As wide as is needed for files in the order of their names to be in that of their numbers.
    constexpr std::size_t width = 6;
    String const digits = std::to_string(number);
    return folder_ + '/' + name_ + '.' + String(width - std::min(width, digits.size()), '0') +
           digits + ".bmp";
}

void Recording::next() {
    file_ = std::ofstream();
    ++number_;
    size_ = 0;
    String const path = pathOf(number_);
    errno = 0;
    file_.open(path, std::ios::binary | std::ios::trunc);
    if (!file_) {
        throw std::runtime_error(path + ": " + std::generic_category().message(errno));
    }
    if (number_ > files) {
        std::error_code ignored; // it may be gone already
        std::filesystem::remove(pathOf(number_ - files), ignored);
    }
}

void Recording::write(std::span<U8 const> messages) {
    if (size_ > 0 && size_ + messages.size() > mostBytes_) {
        flush();
        next();
    }
    // Streams write bytes as characters.
    file_.write(reinterpret_cast<char const *>(messages.data()),
                static_cast<std::streamsize>(messages.size()));
    size_ += messages.size();
    if (!file_) {
        throw std::runtime_error(pathOf(number_) + ": cannot be written");
    }
}

void Recording::flush() {
    if (!file_.flush()) {
        throw std::runtime_error(pathOf(number_) + ": cannot be written");
    }
}

} // namespace Qcf::Live
