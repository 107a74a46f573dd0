#include "Command/PolicyFile.h"

#include "Command/Command.h"
#include "Command/Readiness.h"
#include "Lists/ListRecord.h"
#include "Lists/ListsDocument.h"
#include "Platform/Render/JsonDocument.h"

#include <map>
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

std::vector<Qcf::Lists::ListRecord> listRecordsOf(String const & file) {
    String text = readFile(file);
    if (Qcf::Text::isJson(text)) {
        auto const document = JsonDocument::parse(std::move(text), file);
        return Qcf::Lists::readListRecords(document.root(), file, tellLine);
    }
    auto const sources = std::make_shared<Sources>();
    Messages messages;
    auto const policy = Qcf::Text::readPolicyText(std::move(text), file, *sources, messages);
    if (!policy) {
        throw TextError(std::move(messages), sources);
    }
    return policy->listRecords();
}

} // namespace

void PolicyFile::Named::addTo(CLI::App & command) {
    command.add_option("document", path, "Policy text or evaluation-tree document")
        ->required()
        ->type_name("POLICY");
    command.add_option("--map", map, "Source map of a compiled document (qcf compile --map-out)")
        ->type_name("FILE");
}

TextError::TextError(Messages messages, std::shared_ptr<Sources const> sources)
    : DocumentError(printed(messages, *sources)),
      messages_(std::move(messages)),
      sources_(std::move(sources)) {}

PolicyFile PolicyFile::read(Named const & named, Qcf::Documents::ReadAlong along) {
    PolicyFile file = readAll(named, along);
    if (file.isUnreadable()) {
        throw TextError(std::move(file.messages_), file.sources_);
    }
    return file;
}

PolicyFile PolicyFile::readAll(Named const & named, Qcf::Documents::ReadAlong along) {
    PolicyFile file;
    file.path_ = named.path;
    file.mapPath_ = named.map;
    String text = readFile(named.path);
    file.sources_ = std::make_shared<Sources>();
    if (Qcf::Text::isJson(text)) {
        file.places_ = std::make_shared<Qcf::Documents::Places>();
        along.places = file.places_.get();
        file.program_ = Qcf::Documents::readProgram(std::move(text), named.path, along);
        if (!named.map.empty()) {
            file.map_ = Qcf::Text::PlaceMap::read(named.map);
            // What could not be read of the document lacks its nodes.
            if (along.unread == nullptr || along.unread->empty()) {
                file.map_->mustSuit(file.program_);
            }
        }
        return file;
    }
    if (!named.map.empty()) {
        throw UsageError("--map is for a document; " + named.path + " has its places itself");
    }
    file.text_ =
        Qcf::Text::readPolicyText(std::move(text), named.path, *file.sources_, file.messages_);
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

String PolicyFile::pointerOf(Qcf::Eval::AetNodeBase const & node,
                             Qcf::Eval::Function const & within) const {
    return places_ ? places_->pointerOf(node, within) : String();
}

Qcf::Text::PlaceMap const & PolicyFile::map() const {
    if (!map_) {
        map_ = Qcf::Text::PlaceMap::of(text_->map(), *sources_);
    }
    return *map_;
}

void PolicyFile::messageIs(Qcf::Eval::AetNodeBase const & node, char const * code,
                           String const & text, Qcf::Text::Severity severity) {
    auto const * const entry = text_->map().find(node.aetNodeKey());
    Qcf::Text::Span const span = entry == nullptr ? Qcf::Text::Span() : entry->span;
    messages_.add({span, severity, code, text});
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

std::vector<Qcf::Lists::ListRecord> PolicyFile::listRecordsWith(String const & file) const {
    auto records = text_ ? text_->listRecords() : std::vector<Qcf::Lists::ListRecord>();
    if (file.empty()) {
        return records;
    }
    std::map<std::pair<Qcf::Lists::ListKind, String>, std::size_t> known;
    for (std::size_t i = 0; i < records.size(); ++i) {
        known.emplace(std::pair(records[i].kind(), records[i].name), i);
    }
    for (auto & record : listRecordsOf(file)) {
        auto const at = known.find({record.kind(), record.name});
        if (at == known.end()) {
            records.push_back(std::move(record));
        } else {
            records[at->second] = std::move(record);
        }
    }
    return records;
}

PtrConst<NamedLists> readListsOf(String const & file, Qcf::Lists::EntryFindings * findings) {
    String text = readFile(file);
    if (Qcf::Text::isJson(text)) {
        return Qcf::Lists::readLists(std::move(text), file, tellLine, findings);
    }
    auto const sources = std::make_shared<Sources>();
    Messages messages;
    auto const policy = Qcf::Text::readPolicyText(std::move(text), file, *sources, messages);
    if (!policy) {
        throw TextError(std::move(messages), sources);
    }
    return listsOf(*policy, *sources, findings);
}
