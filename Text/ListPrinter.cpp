#include "Text/ListPrinter.h"

#include "Platform/Routing/CommunityText.h"
#include "Text/Lexer.h"
#include "Text/ListDeclaration.h"
#include "Text/Literal.h"
#include "Text/Patterns.h"
#include "Text/Words.h"

#include <algorithm>
#include <limits>

namespace Qcf::Text {

using namespace Lists; // NOLINT(google-build-using-namespace): all that is written are lists

namespace {

constexpr std::size_t longestLine = 100;
/// As far as the number of an entry is from that of the one before where none is written.
constexpr U64 seqStep = 10;
constexpr U32 max16 = std::numeric_limits<U16>::max();
constexpr U32 max32 = std::numeric_limits<U32>::max();

/// Entries between braces: on one line where that is short, else on lines of their own, which
/// numbers fill.
class Body {
public:
    explicit Body(bool isNumbers = false) : isNumbers_(isNumbers) {}

    void add(std::string_view entry) {
        entries_ += entry;
        sizes_.push_back(entry.size());
    }
    bool empty() const { return sizes_.empty(); }

    /// Appends to a line that is indented by so much.
    void appendTo(String & out, std::size_t indent) const {
        std::size_t const lineStart = out.rfind('\n') + 1;
        std::size_t const width =
            out.size() - lineStart + entries_.size() + (sizes_.size() + 2) * 2;
        out += '{';
        if (empty()) {
            // Nothing stands between them.
        } else if (width <= longestLine && entries_.find('\n') == String::npos) {
            appendLine(out);
        } else {
            appendLines(out, indent);
        }
        out += '}';
    }

private:
    void appendLine(String & out) const {
        std::size_t at = 0;
        for (std::size_t const size : sizes_) {
            out += at == 0 ? " " : isNumbers_ ? ", " : "  ";
            out.append(entries_, at, size);
            at += size;
        }
        out += ' ';
    }

    void appendLines(String & out, std::size_t indent) const {
        String const newLine = '\n' + String(indent + 2, ' ');
        std::size_t column = longestLine;
        std::size_t at = 0;
        for (std::size_t const size : sizes_) {
            bool const fits = isNumbers_ && column + size + 2 <= longestLine;
            column = fits ? column + size + 2 : newLine.size() + size;
            out += at != 0 && isNumbers_ ? "," : "";
            out += fits ? " " : newLine;
            out.append(entries_, at, size);
            at += size;
        }
        out += '\n' + String(indent, ' ');
    }

    bool isNumbers_;
    String entries_; ///< one behind the other
    std::vector<std::size_t> sizes_;
};

// Entries of prefix lists are tried by their numbers: in that order they stand in a text.
void addEntries(Body & body, std::vector<PrefixListEntry> const & entries) {
    std::vector<PrefixListEntry const *> bySeq;
    bySeq.reserve(entries.size());
    for (PrefixListEntry const & entry : entries) {
        bySeq.push_back(&entry);
    }
    std::ranges::stable_sort(bySeq, {}, [](auto const * entry) { return entry->seq; });
    U64 expected = seqStep;
    String text;
    for (PrefixListEntry const * const entry : bySeq) {
        auto const [ge, le] = writtenLengths(*entry);
        text = entry->seq == expected ? "" : "seq " + std::to_string(entry->seq) + ' ';
        text += actionName(entry->action);
        text += ' ';
        entry->prefix.appendText(text);
        text += ge ? " ge " + std::to_string(*ge) : "";
        text += le ? " le " + std::to_string(*le) : "";
        body.add(text);
        expected = entry->seq + seqStep;
    }
}

String wordOf(U64 community, StandardCommunityList const *) { return communityWord(community); }
String wordOf(Acl::CommunityValue const & community, ExtCommunityList const *) {
    return extCommunityText(community);
}
String wordOf(Acl::CommunityValue const & community, LargeCommunityList const *) {
    return largeCommunityText(community);
}

// Extended communities have no templates.
std::vector<TemplatePart> partsOf(String const & pattern, StandardCommunityList const *) {
    return templateOf(pattern, 2, max16);
}
std::vector<TemplatePart> partsOf(String const &, ExtCommunityList const *) { return {}; }
std::vector<TemplatePart> partsOf(String const & pattern, LargeCommunityList const *) {
    return templateOf(pattern, 3, max32);
}

template <typename List>
String textOf(typename CommunityListRecord<List>::Entry const & entry) {
    constexpr List const * kind = nullptr;
    if (entry.pattern) {
        auto const parts = partsOf(entry.pattern->text, kind);
        return parts.empty() ? quoted(entry.pattern->text) : "{ " + toText(parts) + " }";
    }
    String text = "{";
    for (auto const & community : entry.communities) {
        text += text.size() == 1 ? " " : ", ";
        text += wordOf(community, kind);
    }
    return entry.communities.empty() ? "{}" : text + " }";
}

/// The body of a list; writes what stands before it besides kind and name.
struct BodyOf {
    String & head;

    Body operator()(PrefixListRecord const & list) const {
        head += list.family == AddressFamily::ipv4 ? " v4" : " v6";
        head += list.covered ? " covered" : "";
        Body body;
        addEntries(body, list.entries);
        return body;
    }

    Body operator()(DynamicPrefixListRecord const & list) const {
        Body vrfs(true);
        for (auto const & [vrf, active] : list.vrfs) {
            vrfs.add(std::to_string(vrf) + (active ? "" : " false"));
        }
        Body v4;
        addEntries(v4, list.v4);
        Body v6;
        addEntries(v6, list.v6);
        Body body;
        addSection(body, "vrfs ", vrfs);
        addSection(body, "v4 ", v4);
        addSection(body, "v6 ", v6);
        return body;
    }

    template <typename List>
    Body operator()(CommunityListRecord<List> const & list) const {
        Body body;
        for (auto const & entry : list.entries) {
            body.add(String(actionName(entry.action)) + ' ' + textOf<List>(entry));
        }
        return body;
    }

    Body operator()(AsPathListRecord const & list) const {
        Body body;
        for (auto const & entry : list.entries) {
            auto const asked = pathEntryOf(entry.pattern.text);
            String text = String(actionName(entry.action)) + ' ';
            text += asked ? toText(*asked) : quoted(entry.pattern.text);
            text += entry.origin ? String(" origin ") + originName(*entry.origin) : "";
            body.add(text);
        }
        return body;
    }

    Body operator()(TagSetRecord const & list) const {
        Body body(true);
        for (U32 const tag : list.tags) {
            body.add(std::to_string(tag));
        }
        return body;
    }

    Body operator()(RoaTableRecord const & list) const {
        Body body;
        String text;
        for (Roa const & roa : list.roas) {
            text.clear();
            roa.prefix.appendText(text);
            text +=
                roa.maxLength != roa.prefix.len() ? " max " + std::to_string(roa.maxLength) : "";
            text += " AS" + std::to_string(roa.asn);
            body.add(text);
        }
        return body;
    }

    // Of two blanks more than the list itself.
    static void addSection(Body & body, char const * word, Body const & section) {
        if (!section.empty()) {
            String text = word;
            section.appendTo(text, 2);
            body.add(text);
        }
    }
};

} // namespace

void printList(String & out, ListRecord const & list) {
    String head = "list " + String(kindWord(list.kind())) + ' ' + nameWord(list.name);
    Body const body = std::visit(BodyOf{head}, list.content);
    out += head + ' ';
    body.appendTo(out, 0);
    out += '\n';
}

String printLists(std::span<ListRecord const> lists) {
    String text;
    for (ListRecord const & list : lists) {
        printList(text, list);
    }
    return text;
}

} // namespace Qcf::Text
