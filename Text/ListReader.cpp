#include "Text/ListReader.h"

#include "Text/ListEntryReader.h"
#include "Text/Literal.h"
#include "Text/Words.h"

namespace Qcf::Text {

using Lists::ListKind;

namespace {

/// The kind that is near, or the only one that begins so ("roa").
String suggestedKind(std::string_view word) {
    auto const beginsSo = [&](std::string_view kind) { return kind.starts_with(word); };
    bool const isOne = std::ranges::count_if(kindWords(), beginsSo) == 1;
    return isOne ? String(*std::ranges::find_if(kindWords(), beginsSo))
                 : nearest(word, kindWords());
}

ListKind readKind(Cursor & cursor) {
    auto const kind = cursor.isWord() ? kindOfWord(cursor.text()) : std::nullopt;
    if (!kind) {
        cursor.fail(cursor.here(), "list-kind", "wants a kind of list, found " + cursor.found(),
                    cursor.isWord() ? suggestedKind(cursor.text()) : String(),
                    "kinds are prefix_list, dynamic_prefix_list, community_list, "
                    "ext_community_list, large_community_list, as_path_list, tag_set, roa_table");
    }
    cursor.take();
    return *kind;
}

String readName(Cursor & cursor) {
    if (cursor.isString()) {
        return unquoted(cursor.text(cursor.take()));
    }
    if (cursor.isWord() && !isPlainName(cursor.text())) {
        cursor.fail(cursor.here(), "list-name",
                    cursor.found() + " is no name; any text is one in quotes",
                    quoted(cursor.text()));
    }
    if (!cursor.isWord()) {
        cursor.failWanted("the list's name");
    }
    return String(cursor.text(cursor.take()));
}

/// A family belongs to prefix lists alone, and these are not without.
AddressFamily readFamily(Cursor & cursor, ListKind kind) {
    bool const isWritten = cursor.is("v4") || cursor.is("v6");
    bool const isPrefixList = kind == ListKind::prefixList;
    if (isWritten && !isPrefixList) {
        cursor.fail(cursor.here(), "list-family",
                    "a " + String(kindWord(kind)) + " has no family; only a prefix_list has");
    }
    if (!isWritten && isPrefixList) {
        cursor.fail(cursor.here(), "list-family",
                    "wants the family of the prefix list, 'v4' or 'v6', found " + cursor.found(),
                    {}, "as in: list prefix_list NAME v4 { permit 10.0.0.0/8 le 24 }");
    }
    if (!isWritten) {
        return AddressFamily::none;
    }
    return cursor.text(cursor.take()) == "v4" ? AddressFamily::ipv4 : AddressFamily::ipv6;
}

bool readCovered(Cursor & cursor, ListKind kind) {
    if (kind != ListKind::prefixList && cursor.is("covered")) {
        cursor.fail(cursor.here(), "list-family", "only a prefix_list can be 'covered'");
    }
    return cursor.accept("covered");
}

void readContent(Cursor & cursor, ConstantScope const & constants, Lists::ListContent & content,
                 ListKind kind) {
    try {
        ListEntryReader reader(cursor, constants, kind);
        std::visit([&](auto & list) { reader.read(list); }, content);
    } catch (Recovery const &) {
        // Told; the cursor stands where the next declaration begins, or at the end.
    }
}

} // namespace

KindAndName readKindAndName(Cursor & cursor) {
    ListKind const kind = readKind(cursor);
    Span const nameSpan = cursor.here();
    return {kind, readName(cursor), nameSpan};
}

std::optional<ListDeclaration> readList(Cursor & cursor, ConstantScope const & constants) {
    Token const first = cursor.now();
    ListDeclaration list;
    try {
        auto const [kind, name, nameSpan] = readKindAndName(cursor);
        list.nameSpan = nameSpan;
        list.list.name = name;
        list.list.content = Lists::emptyContent(kind);
        auto const family = readFamily(cursor, kind);
        bool const covered = readCovered(cursor, kind);
        if (auto * const prefixes = std::get_if<Lists::PrefixListRecord>(&list.list.content)) {
            prefixes->family = family;
            prefixes->covered = covered;
        }
        if (!cursor.is("{")) {
            cursor.failWanted("'{' and the list's entries");
        }
    } catch (Recovery const &) {
        cursor.skipTo({"list", "function", "const", "import", "test", "route", "expect"});
        return std::nullopt;
    }
    readContent(cursor, constants, list.list.content, list.kind());
    list.span = cursor.since(first);
    return list;
}

} // namespace Qcf::Text
