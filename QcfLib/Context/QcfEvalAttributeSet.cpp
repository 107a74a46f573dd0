#include "QcfLib/QcfEvalAttributeSet.h"

#include <cstring>
#include <ostream>
#include <sstream>

/// The text form of sets of attributes, read and written. The flags themselves are generated.
namespace Qcf::Eval {

namespace {

/// The flags that can be modified, by bit, as positions in attributeFlags.
// Found out while compiling, so that it is there whenever a name is asked for.
constexpr auto modifiableFlags = [] {
    std::array<std::size_t, modifiableAttributeSetWidth> positions{};
    for (std::size_t i = 0; i < attributeFlags.size(); ++i) {
        if (attributeFlags[i].writeBit >= 0) {
            positions[static_cast<std::size_t>(attributeFlags[i].writeBit)] = i;
        }
    }
    return positions;
}();

void skipBlanks(CharRange & text) {
    while (!text.empty() && (*text.begin == ' ' || *text.begin == '\t' || *text.begin == '\n')) {
        ++text.begin;
    }
}

// Blanks before a token never matter.
bool consume(CharRange & text, std::string_view token) {
    skipBlanks(text);
    if (!text.view().starts_with(token)) {
        return false;
    }
    text.begin += token.size();
    return true;
}

void expect(CharRange & text, std::string_view token) {
    if (!consume(text, token)) {
        // The text may be long, an error names where it went wrong.
        throw ParseError(token, text.view().substr(0, 20));
    }
}

// What it returns is a view of the text, good as long as that.
std::string_view quoted(CharRange & text) {
    expect(text, "'");
    // No flag has a quote in its name: there is no escape.
    auto const end = text.view().find('\'');
    if (end == std::string_view::npos) {
        throw ParseError("a closing quote", text.view().substr(0, 20));
    }
    auto const name = text.view().substr(0, end);
    text.begin += end + 1;
    return name;
}

bool readBool(CharRange & text) {
    // The first two are what is written.
    static constexpr std::pair<std::string_view, bool> spellings[] = {
        {"True", true},   {"False", false}, {"true", true},
        {"false", false}, {"1", true},      {"0", false}};
    for (auto const & [spelling, value] : spellings) {
        if (consume(text, spelling)) {
            return value;
        }
    }
    throw ParseError("True or False", text.view().substr(0, 20));
}

} // namespace

char const * AttributeSetNames::name(std::size_t bit) { return attributeFlags[bit].name; }
char const * ModifiableAttributeSetNames::name(std::size_t bit) {
    return attributeFlags[modifiableFlags[bit]].name;
}

template <typename Names>
FlagSet<Names>::FlagSet(U64 bits) : bits_(bits) {
    // A bit that has no name could not be written as text.
    if ((bits >> width) != 0) {
        throw std::out_of_range(String(Names::type) + " has " + std::to_string(width) + " flags, " +
                                std::to_string(bits) + " sets others");
    }
}

template <typename Names>
void FlagSet<Names>::refuse(std::size_t bit) {
    throw std::out_of_range(String(Names::type) + " has " + std::to_string(width) +
                            " flags, none of the number " + std::to_string(bit));
}

template <typename Names>
FlagSet<Names>::FlagSet(CharRange & text) {
    expect(text, "Value(");
    if (auto const type = quoted(text); type != Names::type) {
        throw ParseError(Names::type, type);
    }
    expect(text, ",");
    expect(text, "**");
    expect(text, "{");
    // In any order; of a flag that comes twice the last value holds.
    for (bool first = true; !consume(text, "}"); first = false) {
        if (!first) {
            expect(text, ",");
        }
        auto const name = quoted(text);
        auto const bit = bitOf(name);
        if (bit == width) {
            throw ParseError(String("a flag of ") + Names::type, name);
        }
        expect(text, ":");
        bits_ = (bits_ & ~(U64{1} << bit)) | (U64{readBool(text)} << bit);
    }
    expect(text, ")");
}

template <typename Names>
FlagSet<Names> FlagSet<Names>::strepToValue(String const & text) {
    CharRange range(text);
    FlagSet set(range);
    skipBlanks(range);
    if (!range.empty()) {
        throw ParseError("nothing behind the set", range.view().substr(0, 20));
    }
    return set;
}

template <typename Names>
std::size_t FlagSet<Names>::bitOf(std::string_view name) {
    // A few dozen names: no table is worth its making.
    std::size_t bit = 0;
    while (bit < width && name != Names::name(bit)) {
        ++bit;
    }
    return bit;
}

template <typename Names>
std::ostream & operator<<(std::ostream & out, FlagSet<Names> const & set) {
    out << "Value('" << Names::type << "', ** {";
    // Every flag, set or not: texts of one kind of set can be compared line by line.
    for (std::size_t bit = 0; bit < Names::width; ++bit) {
        out << (bit == 0 ? "'" : ", '") << Names::name(bit)
            << "': " << (set.contains(bit) ? "True" : "False");
    }
    return out << "})";
}

// The header promises these; there are no others.
template class FlagSet<AttributeSetNames>;
template class FlagSet<ModifiableAttributeSetNames>;
template std::ostream & operator<<(std::ostream &, AttributeSet const &);
template std::ostream & operator<<(std::ostream &, ModifiableAttributeSet const &);

void formatReadWriteAttributeFlag(std::ostringstream & out, char const * name, bool read,
                                  bool write) {
    if (read || write) {
        out << name << " = " << (read ? "read" : "") << (read && write ? "/" : "")
            << (write ? "write" : "") << "\n";
    }
}

String AccessibleAttributes::toStrep() const {
    std::ostringstream out;
    for (std::size_t bit = 0; bit < attributeSetWidth; ++bit) {
        auto const & flag = attributeFlags[bit];
        // An attribute that cannot be modified has no bit to ask for.
        bool const write = flag.writeBit >= 0 &&
                           writableAttributes.contains(static_cast<std::size_t>(flag.writeBit));
        formatReadWriteAttributeFlag(out, flag.languageName, readableAttributes.contains(bit),
                                     write);
    }
    return out.str();
}

} // namespace Qcf::Eval
