#include "Command/Colours.h"

#include <cstdlib>

#include <unistd.h>

namespace {

bool hasColours(int stream) {
    char const * const refused = std::getenv("NO_COLOR");
    char const * const terminal = std::getenv("TERM");
    bool const isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return (refused == nullptr || *refused == '\0') && !isDumb && isatty(stream) == 1;
}

char const * codeOf(Colour colour) {
    switch (colour) {
    case Colour::good:
        return "\033[32m";
    case Colour::bad:
        return "\033[1;31m";
    case Colour::notice:
        return "\033[33m";
    case Colour::faint:
        return "\033[2m";
    }
    return "";
}

void appendLine(String & out, std::string_view line, std::span<MarkedWord const> words,
                int stream) {
    for (MarkedWord const & marked : words) {
        std::size_t const at = line.find(String(marked.before) + String(marked.word));
        if (at != std::string_view::npos) {
            out += line.substr(0, at + marked.before.size());
            out += coloured(marked.word, marked.colour, stream);
            line.remove_prefix(at + marked.before.size() + marked.word.size());
            break;
        }
    }
    out += line;
}

} // namespace

bool showsColours(int stream) {
    static bool const ofOutput = hasColours(STDOUT_FILENO);
    static bool const ofErrors = hasColours(STDERR_FILENO);
    return stream == STDOUT_FILENO ? ofOutput : ofErrors;
}

String coloured(std::string_view text, Colour colour, int stream) {
    return showsColours(stream) ? codeOf(colour) + String(text) + "\033[0m" : String(text);
}

String colouredWords(String text, std::span<MarkedWord const> words, int stream) {
    if (!showsColours(stream)) {
        return text;
    }
    String out;
    std::string_view rest = text;
    while (!rest.empty()) {
        std::size_t const end = rest.find('\n');
        std::size_t const length = end == std::string_view::npos ? rest.size() : end + 1;
        appendLine(out, rest.substr(0, length), words, stream);
        rest.remove_prefix(length);
    }
    return out;
}

String colouredMessages(String text, int stream) {
    // In a message a place stands before these.
    constexpr MarkedWord words[] = {{": ", "error: ", Colour::bad},
                                    {": ", "warning: ", Colour::notice}};
    return colouredWords(std::move(text), words, stream);
}
