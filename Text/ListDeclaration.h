#pragma once

#include "Lists/ListRecord.h"
#include "Text/Message.h"

#include <span>

/// Named lists in policy text: what a declaration is, and how it becomes a list among others.
namespace Qcf::Text {

/// The constants that may stand in a list's braces: what knows the text around tells.
class ConstantScope {
public:
    virtual ~ConstantScope() = default;
    /// The literals that stand for the name, in their order, a range as one word ("5..9"); none
    /// where there is no such constant.
    virtual std::span<String const> wordsOf(std::string_view name) const = 0;
    /// Whether more of them were asked for than a text may have.
    virtual bool isExhausted() const { return false; }
    /// All names, for suggestions.
    virtual std::vector<std::string_view> names() const { return {}; }
};

/// A list as a text declares it.
struct ListDeclaration {
    Lists::ListRecord list;
    /// From its kind to its closing brace; of an imported one the import.
    Span span;
    Span nameSpan;
    /// For whoever read the word before it: the reader leaves it empty.
    String documentation = {};

    Lists::ListKind kind() const { return list.kind(); }
    String const & name() const { return list.name; }
    bool isV4() const { return list.family() == AddressFamily::ipv4; }
};

/// The words of all kinds, by ListKind.
std::span<std::string_view const> kindWords();
/// The word of a kind: "prefix_list".
std::string_view kindWord(Lists::ListKind kind);
/// The kind of a word; nothing for other words.
std::optional<Lists::ListKind> kindOfWord(std::string_view word);

/// Makes the list and puts it among the others, whose places become those in the text. One of that
/// kind and name that is there already is an error that tells both places, and stays; false then.
bool addTo(Lists::NamedLists & lists, ListDeclaration declaration, Sources const & sources,
           Messages & messages);

} // namespace Qcf::Text
