#include "Command/PolicyPlaces.h"

#include "QcfLib/QcfEval.h"
#include "Text/NodeText.h"
#include "Text/Words.h"

#include <filesystem>
#include <fstream>

namespace {

using Qcf::Eval::AetNodeBase;
using Qcf::Eval::Function;
using Qcf::Text::MappedPlace;
using Qcf::Watch::NodePlace;

/// The bytes of a line from a column to before another, as code points count.
String columns(String const & line, U32 from, U32 behind) {
    String text;
    U32 column = 0;
    for (char const c : line) {
        bool const isContinued = (static_cast<U8>(c) & 0xc0) == 0x80;
        column += isContinued ? 0 : 1;
        if (column >= from && column < behind) {
            text += c;
        }
    }
    return text;
}

/// The first line without what opens a block or goes on below.
String firstLine(String text) {
    bool const goesOn = text.find('\n') != String::npos;
    text.resize(std::min(text.size(), text.find('\n')));
    text.resize(text.find_last_not_of(" \t\r") + 1);
    if (goesOn && text.ends_with('{')) {
        std::size_t const head = text.find_last_not_of(" {") + 1;
        text.resize(head == 0 ? 1 : head);
    } else if (goesOn) {
        text += " ...";
    }
    return text;
}

} // namespace

String spelledLine(AetNodeBase const & node, Function const & within) {
    if (auto const * const function = Qcf::Eval::as<Function>(node)) {
        return "function " + Qcf::Text::nameWord(function->funcName());
    }
    if (auto const * const branch = Qcf::Eval::as<Qcf::Eval::IfExpression>(node)) {
        return "if " + spelledLine(*branch->condition(), within);
    }
    return firstLine(Qcf::Text::printNode(node, &within));
}

PolicyPlaces::PolicyPlaces(std::shared_ptr<PolicyFile const> policy) : policy_(std::move(policy)) {
    // What `reason` asks is worked out here, so that it needs no lock.
    if (policy_->hasMap()) {
        policy_->map();
    }
}

NodePlace PolicyPlaces::of(AetNodeBase const & node, Function const & within) const {
    std::lock_guard const lock(mutex_);
    auto const [at, isNew] = places_.try_emplace(Key{&node, &within});
    if (isNew) {
        at->second = found(node, within);
    }
    return at->second;
}

String PolicyPlaces::line(AetNodeBase const & node, Function const & within) const {
    std::lock_guard const lock(mutex_);
    auto const [at, isNew] = lines_.try_emplace(Key{&node, &within});
    if (isNew) {
        at->second = foundLine(node, within);
    }
    return at->second;
}

NodePlace PolicyPlaces::found(AetNodeBase const & node, Function const & within) const {
    MappedPlace const * const at = policy_->mappedPlace(node);
    if (at == nullptr) {
        return {policy_->path(), policy_->pointerOf(node, within)};
    }
    NodePlace place;
    place.file = policy_->map().fileName(*at);
    place.line = at->begin.line;
    place.column = at->begin.column;
    place.endLine = at->end.line;
    place.endColumn = at->end.column;
    return place;
}

String PolicyPlaces::reason(AetNodeBase const & node) const {
    MappedPlace const * const at = policy_->mappedPlace(node);
    return at == nullptr ? String() : at->reason;
}

String PolicyPlaces::foundLine(AetNodeBase const & node, Function const & within) const {
    if (auto const * const branch = Qcf::Eval::as<Qcf::Eval::IfExpression>(node)) {
        return "if " + foundLine(*branch->condition(), within);
    }
    bool const isFunction = Qcf::Eval::is<Function>(node);
    String const source = isFunction ? String() : sourceOf(node);
    return source.empty() ? spelledLine(node, within) : source;
}

String PolicyPlaces::sourceOf(AetNodeBase const & node) const {
    if (auto const * const text = policy_->text()) {
        auto const * const entry = text->map().find(node.aetNodeKey());
        return entry == nullptr ? String()
                                : firstLine(String(policy_->sources().textOf(entry->span)));
    }
    MappedPlace const * const at = policy_->mappedPlace(node);
    return at == nullptr ? String() : mappedLine(*at);
}

String PolicyPlaces::mappedLine(MappedPlace const & place) const {
    auto const & lines = linesOf(policy_->map().fileName(place));
    // The text may have been edited since.
    if (place.begin.line == 0 || place.begin.line > lines.size()) {
        return {};
    }
    bool const isOneLine = place.begin.line == place.end.line;
    String const text = columns(lines[place.begin.line - 1], place.begin.column,
                                isOneLine ? place.end.column : ~U32{0});
    return firstLine(isOneLine ? text : text + '\n');
}

std::vector<String> const & PolicyPlaces::linesOf(String const & file) const {
    auto const known = files_.find(file);
    if (known != files_.end()) {
        return known->second;
    }
    std::vector<String> & lines = files_[file];
    std::ifstream in(file);
    if (!in) {
        in.open(std::filesystem::path(policy_->mapPath()).parent_path() / file);
    }
    for (String line; std::getline(in, line);) {
        lines.push_back(std::move(line));
    }
    return lines;
}
