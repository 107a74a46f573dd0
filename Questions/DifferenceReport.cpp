#include "Questions/DifferenceReport.h"

#include <algorithm>

namespace Qcf::Questions {

namespace {

constexpr std::size_t widestColumn = 90;
constexpr std::size_t widestStatement = 60;

// In a text the line says enough; it is the one of that side's file.
String labelOf(Watch::NodePlace const & place) {
    return place.isInText() ? std::to_string(place.line) : place.pointer;
}

// Of a text in UTF-8 no half of a character is left.
String clipped(String text) {
    if (text.size() <= widestStatement) {
        return text;
    }
    std::size_t end = widestStatement;
    while (end > 0 && (static_cast<U8>(text[end]) & 0xc0) == 0x80) {
        --end;
    }
    text.resize(end);
    return text + "...";
}

String statementText(char const * side, PartingStatement const & statement,
                     Watch::NodePlaces const & places) {
    String text = String(side) + ' ';
    if (statement.node == nullptr || statement.within == nullptr) {
        return text + '-';
    }
    String const label = labelOf(places.of(*statement.node, *statement.within));
    text += label.empty() ? "" : label + ' ';
    text += clipped(places.line(*statement.node, *statement.within));
    return statement.answer ? text + " (" + toString(*statement.answer) + ')' : text;
}

void renderStatement(char const * side, PartingStatement const & statement,
                     Watch::NodePlaces const & places, RendererV2 & renderer) {
    renderer.key(side);
    if (statement.node == nullptr || statement.within == nullptr) {
        renderer.nullValue();
        return;
    }
    Watch::NodePlace const place = places.of(*statement.node, *statement.within);
    auto const member = [&](char const * key, auto const & value) {
        renderer.key(key);
        renderer.value(value);
    };
    renderer.beginObject();
    member("file", place.file);
    if (place.isInText()) {
        member("line", U64{place.line});
        member("column", U64{place.column});
    } else {
        member("pointer", place.pointer);
    }
    member("function", statement.within->funcName());
    member("text", places.line(*statement.node, *statement.within));
    renderer.key("result");
    statement.answer ? renderer.value(toString(*statement.answer)) : renderer.nullValue();
    renderer.endObject();
}

} // namespace

String exampleText(RouteDifference const & route) {
    String const prefix = route.prefix.toString();
    String text = prefix.empty() ? "route " + std::to_string(route.route) : prefix;
    return route.peer.isAddrZero() ? text : text + " via " + route.peer.toString();
}

void renderExample(RouteDifference const & route, RendererV2 & renderer) {
    renderer.key("route");
    renderer.value(route.route);
    renderer.key("prefix");
    renderer.value(route.prefix.toString());
    if (!route.peer.isAddrZero()) {
        renderer.key("peer");
        renderer.value(route.peer.toString());
    }
}

String inColumns(std::vector<std::vector<String>> const & rows) {
    std::vector<std::size_t> widths;
    for (auto const & row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], std::min(row[i].size(), widestColumn));
        }
    }
    String text;
    for (auto const & row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            std::size_t const blanks = widths[i] - std::min(widths[i], row[i].size());
            text.append(2, ' ');
            text.append(i == 0 ? blanks : 0, ' ');
            text += row[i];
            text.append(i == 0 || i + 1 == row.size() ? 0 : blanks, ' ');
        }
        text.resize(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

String differencesText(std::vector<DifferenceGroup> const & groups, ComparedPlaces const & places) {
    std::vector<std::vector<String>> rows;
    for (DifferenceGroup const & group : groups) {
        rows.push_back({std::to_string(group.count), group.text(),
                        statementText("old", group.example.older, places.older),
                        statementText("new", group.example.newer, places.newer),
                        "e.g. " + exampleText(group.example)});
    }
    return inColumns(rows);
}

void renderDifferences(std::vector<DifferenceGroup> const & groups, ComparedPlaces const & places,
                       RendererV2 & renderer) {
    for (DifferenceGroup const & group : groups) {
        renderer.beginObject();
        renderer.key("count");
        renderer.value(group.count);
        renderer.key("changed");
        renderer.value(group.text());
        renderStatement("old", group.example.older, places.older, renderer);
        renderStatement("new", group.example.newer, places.newer, renderer);
        renderer.key("example");
        renderer.beginObject();
        renderExample(group.example, renderer);
        renderer.endObject();
        renderer.endObject();
        renderer.endDocument();
    }
}

} // namespace Qcf::Questions
