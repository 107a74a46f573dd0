#pragma once

#include "Lists/ListsWriter.h"
#include "Text/ListPrinter.h"
#include "Text/ListReader.h"

#include <map>

namespace Qcf::Text {

struct GivenConstants final : ConstantScope {
    std::map<String, std::vector<String>, std::less<>> all;

    std::span<String const> wordsOf(std::string_view name) const override {
        auto const found = all.find(name);
        return found == all.end() ? std::span<String const>() : found->second;
    }
    std::vector<std::string_view> names() const override {
        std::vector<std::string_view> names;
        for (auto const & [name, words] : all) {
            names.push_back(name);
        }
        return names;
    }
};

/// A text of nothing but lists, read as a parser would.
struct ReadLists {
    explicit ReadLists(String text, GivenConstants const & constants = {}) {
        Cursor cursor(sources, sources.add("t.qcf", std::move(text)), messages);
        while (!cursor.atEnd()) {
            if (!cursor.accept("list")) {
                cursor.take();
                continue;
            }
            if (auto list = readList(cursor, constants)) {
                declarations.push_back(*std::move(list));
            }
        }
    }

    std::vector<Lists::ListRecord> records() const {
        std::vector<Lists::ListRecord> all;
        for (ListDeclaration const & each : declarations) {
            all.push_back(each.list);
        }
        return all;
    }
    PtrConst<Lists::NamedLists> lists() {
        auto named = makePtr<Lists::NamedLists>();
        for (ListDeclaration const & each : declarations) {
            addTo(*named, each, sources, messages);
        }
        return named;
    }
    std::vector<String> lines() const {
        std::vector<String> all;
        for (Message const & message : messages.all()) {
            all.push_back(lineOf(message, sources));
        }
        return all;
    }

    Sources sources;
    Messages messages;
    std::vector<ListDeclaration> declarations;
};

inline String jsonOf(std::span<Lists::ListRecord const> lists) {
    String text;
    RendererV2 renderer(text);
    writeLists(lists, renderer);
    return text;
}

} // namespace Qcf::Text
