#include "Command/PolicyFile.h"

#include "Command/Readiness.h"
#include "Lists/ListRecord.h"
#include "Lists/ListsDocument.h"

#include <sstream>

namespace {

using Qcf::Lists::NamedLists;
using Qcf::Text::Messages;
using Qcf::Text::Sources;

/// Messages as they are told, without the last line's end.
String printed(Messages & messages, Sources const & sources) {
    messages.sort();
    std::ostringstream out;
    messages.print(sources, out);
    String text = out.str();
    text.resize(text.find_last_not_of('\n') + 1);
    return text;
}

/// The lists that a text declares; an imported list has its entries in another file.
PtrConst<NamedLists> listsOf(Qcf::Text::Policy const & policy, Sources const & sources,
                             Qcf::Lists::EntryFindings * findings) {
    if (findings != nullptr) {
        for (auto const & declaration : policy.declarations().lists) {
            noteEntries(*findings, declaration.list);
        }
    }
    return policy.lists(sources);
}

} // namespace

void PolicyFile::Options::addTo(CLI::App & command) {
    command.add_option("document", path, "Policy text or evaluation-tree document")
        ->required()
        ->type_name("POLICY");
    command.add_option("--map", map, "Source map of a compiled document (qcf compile --map-out)")
        ->type_name("FILE");
}

PolicyFile PolicyFile::read(Options const & options, Qcf::Documents::ReadAlong along) {
    PolicyFile file = readAll(options, along);
    if (file.isUnreadable()) {
        throw DocumentError(printed(file.messages_, *file.sources_));
    }
    return file;
}

PolicyFile PolicyFile::readAll(Options const & options, Qcf::Documents::ReadAlong along) {
    PolicyFile file;
    String text = readFile(options.path);
    file.sources_ = std::make_shared<Sources>();
    if (Qcf::Text::isJson(text)) {
        file.places_ = std::make_shared<Qcf::Documents::Places>();
        along.places = file.places_.get();
        file.program_ = Qcf::Documents::readProgram(std::move(text), options.path, along);
        if (!options.map.empty()) {
            file.map_ = Qcf::Text::PlaceMap::read(options.map);
            // What could not be read of the document lacks its nodes.
            if (along.unread == nullptr || along.unread->empty()) {
                file.map_->mustSuit(file.program_);
            }
        }
        return file;
    }
    file.text_ =
        Qcf::Text::readPolicyText(std::move(text), options.path, *file.sources_, file.messages_);
    file.messages_.sort();
    if (file.text_) {
        file.program_ = file.text_->program();
    }
    return file;
}

String PolicyFile::placeOf(Qcf::Eval::AetNodeBase const & node,
                           Qcf::Eval::Function const & within) const {
    if (text_) {
        auto const * const entry = text_->map().find(node.aetNodeKey());
        return entry == nullptr ? (*sources_)[0].name() : sources_->placeText(entry->span);
    }
    String const place = map_ ? map_->text(node.aetNodeKey()) : String();
    return place.empty() && places_ ? places_->of(node, within) : place;
}

Qcf::Text::PlaceMap const & PolicyFile::map() const {
    if (!map_) {
        map_ = Qcf::Text::PlaceMap::of(text_->map(), *sources_);
    }
    return *map_;
}

void PolicyFile::messageIs(Qcf::Eval::AetNodeBase const & node, char const * code,
                           String const & text) {
    auto const * const entry = text_->map().find(node.aetNodeKey());
    Qcf::Text::Span const span = entry == nullptr ? Qcf::Text::Span() : entry->span;
    messages_.add({span, Qcf::Text::Severity::warning, code, text});
}

void PolicyFile::tellMessages() const {
    std::ostringstream out;
    messages_.print(*sources_, out);
    tell(out.str());
}

PtrConst<NamedLists> PolicyFile::listsWith(String const & file,
                                           Qcf::Lists::EntryFindings * findings) const {
    bool const hasOwn = text_ && !text_->declarations().lists.empty();
    PtrConst<NamedLists> own = hasOwn ? listsOf(*text_, *sources_, findings) : nullptr;
    if (file.empty()) {
        return own;
    }
    auto const over = readListsOf(file, findings);
    return own ? Qcf::Lists::mergeLists(*own, *over) : over;
}

PtrConst<NamedLists> readListsOf(String const & file, Qcf::Lists::EntryFindings * findings) {
    String text = readFile(file);
    if (Qcf::Text::isJson(text)) {
        return Qcf::Lists::readLists(std::move(text), file, tellLine, findings);
    }
    Sources sources;
    Messages messages;
    auto const policy = Qcf::Text::readPolicyText(std::move(text), file, sources, messages);
    if (!policy) {
        throw DocumentError(printed(messages, sources));
    }
    return listsOf(*policy, sources, findings);
}
