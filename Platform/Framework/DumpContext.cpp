#include "Platform/Framework/DumpContext.h"

#include "Platform/Framework/Assert.h"

#include <array>
#include <cstdarg>
#include <cstdio>

void DumpContext::print(char const * format, ...) const {
    // Nearly all lines fit; a longer one is formatted once more, into a text of the length that the
    // first try told.
    std::array<char, 256> line{};
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int const length = std::vsnprintf(line.data(), line.size(), format, args);
    va_end(args);
    auto const size = static_cast<std::size_t>(length);
    if (length >= 0 && size < line.size()) {
        write({line.data(), size});
    } else if (length >= 0) {
        String longLine(size, '\0');
        std::vsnprintf(longLine.data(), size + 1, format, again);
        write(longLine);
    }
    va_end(again);
    QCF_ASSERT_TEXT(length >= 0, "dump format cannot be printed");
}

void DumpContext::write(std::string_view piece) const {
    if (sink_) {
        sink_(piece);
    } else {
        text_ += piece;
    }
}
