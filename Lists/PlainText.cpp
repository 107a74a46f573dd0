#include "Lists/PlainText.h"

#include "Lists/Decompress.h"

#include <algorithm>

namespace Qcf::Lists {

namespace {

/// Reads the stream to its end, or to one byte more than the limit. It grows by half, so that a
/// byte is moved a few times at most. The one byte more tells a content of just the limit from a
/// larger one, without the rest being decompressed.
String contentOf(ByteStream & stream, U64 limit) {
    constexpr std::size_t step = std::size_t{256} << 10;
    String content;
    for (std::size_t size = 0;;) {
        content.resize(std::min<std::size_t>(size + std::max(step, size / 2), limit + 1));
        auto * const to = reinterpret_cast<U8 *>(content.data() + size);
        std::size_t const got = stream.read(to, content.size() - size);
        size += got;
        if (got == 0 || size > limit) {
            content.resize(size);
            return content;
        }
    }
}

} // namespace

String readPlainText(String const & path, Reporter const & warn, U64 limit) {
    String file = readFile(path, limit);
    auto const make = decompressorFor(reinterpret_cast<U8 const *>(file.data()), file.size());
    if (make == nullptr) {
        return file;
    }
    auto const stream = make(makeMemoryStream(std::move(file)), String(), 1);
    String content = contentOf(*stream, limit);
    // First, because a stream that was left in the middle has no fault yet.
    if (content.size() > limit) {
        throw DocumentError(path + ": wants at most " + std::to_string(limit) +
                            " decompressed bytes, found more");
    }
    if (!stream->fault().empty()) {
        throw DocumentError(path + ": " + stream->fault());
    }
    if (warn && !stream->note().empty()) {
        warn(path + ": " + stream->note());
    }
    return content;
}

String pathBeside(String const & document, std::string_view name) {
    if (name.starts_with('/')) {
        return String(name);
    }
    auto const slash = document.rfind('/');
    String const folder = slash == String::npos ? "./" : document.substr(0, slash + 1);
    return folder + String(name);
}

} // namespace Qcf::Lists
