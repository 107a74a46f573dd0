#pragma once

#include "Lists/ListRecord.h"
#include "Text/Cursor.h"

/// Named lists in policy text: reading their declarations.
namespace Qcf::Text {

/// The constants that may stand in a list's braces: what knows the text around tells.
class ConstantScope {
public:
    virtual ~ConstantScope() = default;
    /// The literals that stand for the name, in their order, a range as one word ("5..9"); none
    /// where there is no such constant.
    virtual std::span<String const> wordsOf(std::string_view name) const = 0;
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

/// Reads a declaration from its kind on, behind the word `list` or within `bind`:
///
///     prefix_list LENGTHS v4 { permit 0.0.0.0/0 ge 8 le 24 }
///
/// Whatever is wrong is told, and reading goes on with the next entry. Nothing is answered where
/// kind, name or family cannot be known; the cursor then stands behind the declaration as far as
/// that can be told. A list with faulty entries is answered without them, so that its name is
/// known. Never throws Recovery. Takes time and memory linear in the text.
std::optional<ListDeclaration> readList(Cursor & cursor, ConstantScope const & constants);

/// Kind and name of a list, as they stand in a declaration and behind `as`. Throws Recovery.
struct KindAndName {
    Lists::ListKind kind;
    String name;
    Span nameSpan;
};
KindAndName readKindAndName(Cursor & cursor);

/// The word of a kind: "prefix_list".
std::string_view kindWord(Lists::ListKind kind);
/// The kind of a word; nothing for other words.
std::optional<Lists::ListKind> kindOfWord(std::string_view word);

/// Makes the list and puts it among the others, whose places become those in the text. One of that
/// kind and name that is there already is an error that tells both places, and stays; false then.
bool addTo(Lists::NamedLists & lists, ListDeclaration declaration, Sources const & sources,
           Messages & messages);

} // namespace Qcf::Text
