#include "Text/ListImport.h"

#include "Lists/ListWords.h"
#include "Lists/ListsDocument.h"
#include "Lists/PlainText.h"
#include "Lists/RoaExport.h"
#include "Lists/RoaScan.h"
#include "Text/ForeignLists.h"
#include "Text/ListReader.h"
#include "Text/Words.h"

/// A file's own readers know what is wrong with it, and say so by an exception that names the
/// place; here that becomes a message at the import.
namespace Qcf::Text {

using Lists::ListKind;
using Lists::ListRecord;

namespace {

/// What a JSON file is, by its members: a lists document and an export have theirs, all others have
/// names of lists.
enum class Form : U8 { document, roaExport, bgpq4 };

Form formOf(JsonValue const & root) {
    if (root.find(Lists::word::format)) {
        return Form::document;
    }
    return root.find("roas") || root.find("slurmVersion") ? Form::roaExport : Form::bgpq4;
}

/// A JSON value begins with a bracket; blanks and a byte order mark may stand before it.
bool isJson(std::string_view text) {
    constexpr std::string_view mark = "\xef\xbb\xbf";
    text.remove_prefix(text.starts_with(mark) ? mark.size() : 0);
    auto const first = text.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && text[first] == '{';
}

std::vector<ListRecord> readJson(JsonValue const & root, String const & path,
                                 ImportRequest const & request, Lists::Reporter const & warn) {
    auto const & as = request.as;
    switch (formOf(root)) {
    case Form::document:
        if (as) {
            throw DocumentError(path + ": a lists document names its lists itself; import it "
                                       "without 'as'");
        }
        return Lists::readListRecords(root, path, warn);
    case Form::roaExport:
        if (!as || as->kind != ListKind::roaTable) {
            throw DocumentError(path + ": an export of ROAs is imported 'as roa_table NAME'");
        }
        return {{as->name, Lists::RoaTableRecord{Lists::readRoaExport(root, path, warn)}}};
    case Form::bgpq4:
        break;
    }
    return readForeignLists(root, path, as, warn);
}

std::vector<ListDeclaration> declared(std::vector<ListRecord> lists,
                                      ImportRequest const & request) {
    std::vector<ListDeclaration> declarations;
    declarations.reserve(lists.size());
    Span const nameSpan = request.as ? request.as->nameSpan : request.span;
    for (ListRecord & list : lists) {
        declarations.push_back({std::move(list), request.span, nameSpan});
    }
    return declarations;
}

} // namespace

std::optional<ImportRequest::As> readImportAs(Cursor & cursor) {
    if (!cursor.accept("as")) {
        return std::nullopt;
    }
    auto const [kind, name, nameSpan] = readKindAndName(cursor);
    bool const hasFamily = cursor.is("v4") || cursor.is("v6");
    if (hasFamily && kind != ListKind::prefixList) {
        cursor.fail(cursor.here(), "list-family", "only a prefix_list has a family");
    }
    auto family = AddressFamily::none;
    if (hasFamily) {
        bool const isV4 = cursor.text(cursor.take()) == "v4";
        family = isV4 ? AddressFamily::ipv4 : AddressFamily::ipv6;
    }
    return ImportRequest::As{kind, name, nameSpan, family};
}

std::optional<ImportedFile> importFile(ImportRequest const & request, Sources const & sources,
                                       Messages & messages) {
    ImportedFile file;
    file.path = Lists::pathBeside(sources[request.span.file].name(), request.path);
    auto const warn = [&](String const & line) {
        messages.add({request.span, Severity::warning, "import", line});
    };
    try {
        if (request.as && request.as->kind == ListKind::roaTable) {
            if (auto roas = Lists::scanRoaExport(file.path)) {
                std::vector<ListRecord> lists;
                lists.push_back({request.as->name, Lists::RoaTableRecord{std::move(*roas)}});
                file.lists = declared(std::move(lists), request);
                return file;
            }
        }
        String text = Lists::readPlainText(file.path, warn);
        file.isText = !isJson(text);
        if (file.isText && request.as) {
            throw DocumentError(file.path + ": is a policy text, which names its lists itself; "
                                            "import it without 'as'");
        }
        if (file.isText) {
            file.text = std::move(text);
            return file;
        }
        auto const json = JsonDocument::parse(std::move(text), file.path);
        file.lists = declared(readJson(json.root(), file.path, request, warn), request);
        return file;
    } catch (DocumentError const & error) {
        messages.add({request.span, Severity::error, "import", error.what()});
        return std::nullopt;
    }
}

} // namespace Qcf::Text
