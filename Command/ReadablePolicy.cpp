#include "Command/ReadablePolicy.h"

#include "Command/PolicyPlaces.h"
#include "Command/ProgramFile.h"
#include "Text/Printer.h"
#include "Watch/TextPlaces.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace {

using Qcf::Eval::Function;

/// Whether the line at the node's place can be its own: a text may have been edited since it was
/// compiled. Asked of what has a word or a name that stands in its line.
bool standsThere(Qcf::Eval::Expression const & node, Function const & within,
                 PolicyPlaces const & places) {
    auto const place = places.of(node, within);
    auto const * const function = Qcf::Eval::as<Function>(node);
    bool const isBranch = Qcf::Eval::is<Qcf::Eval::IfExpression>(node);
    if (!place.isInText() ||
        (function == nullptr && !isBranch && !Qcf::Watch::leavesFunction(node))) {
        return true;
    }
    std::string_view const word = function != nullptr ? std::string_view(function->funcName())
                                  : isBranch          ? std::string_view("if")
                                                      : node.typeData().facts.words;
    auto const & lines = places.linesOf(place.file);
    return place.line <= lines.size() && lines[place.line - 1].find(word) != String::npos;
}

} // namespace

ReadablePolicy::ReadablePolicy(PreparedPolicy const & prepared) : function_(prepared.function) {
    PolicyFile const & file = *prepared.file;
    if (file.isText()) {
        places_ = std::make_unique<PolicyPlaces>(prepared.file);
        for (U32 i = 0; i < file.sources().size(); ++i) {
            texts_.push_back({file.sources()[i].name(), String(file.sources()[i].text())});
        }
    } else if (!file.hasMap() || !hasMappedTexts(prepared)) {
        print(prepared);
    }
}

bool ReadablePolicy::hasMappedTexts(PreparedPolicy const & prepared) {
    auto places = std::make_unique<PolicyPlaces>(prepared.file);
    Qcf::Watch::NodeNumbers const numbers(std::span(&function_, 1));
    std::set<String> files;
    for (auto const & [node, within] : numbers.nodes()) {
        if (auto const place = places->of(*node, *within); place.isInText()) {
            files.insert(place.file);
        }
    }
    bool const isSame = std::ranges::all_of(numbers.nodes(), [&](auto const & each) {
        return standsThere(*each.node, *each.within, *places);
    });
    for (String const & file : files) {
        auto const & lines = places->linesOf(file);
        if (lines.empty() || !isSame) {
            texts_.clear();
            return false;
        }
        Qcf::Questions::ReportText & text = texts_.emplace_back();
        text.name = file;
        for (String const & line : lines) {
            text.text += line + '\n';
        }
    }
    places_ = std::move(places);
    return !texts_.empty();
}

void ReadablePolicy::print(PreparedPolicy const & prepared) {
    String const & path = prepared.file->path();
    String const text = Qcf::Text::printPolicy(prepared.file->program());
    Qcf::Text::Messages messages;
    sources_ = std::make_unique<Qcf::Text::Sources>();
    auto policy = Qcf::Text::readPolicyText(text, path + " as text", *sources_, messages);
    if (!policy) {
        std::ostringstream out;
        messages.print(*sources_, out);
        throw DocumentError(
            path + ": cannot be told as text: " + out.str().substr(0, out.str().find('\n')));
    }
    text_ = std::make_unique<Qcf::Text::Policy>(std::move(*policy));
    function_ = findFunction(text_->program(), path, function_->funcName());
    places_ = std::make_unique<Qcf::Watch::TextPlaces>(text_->map(), *sources_);
    texts_.push_back({(*sources_)[0].name(), text});
}
