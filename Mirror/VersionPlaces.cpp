#include "Mirror/VersionPlaces.h"

#include "QcfLib/QcfAllAetEntities.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

/// A publication keeps what is published with equal content, keys and all, so that a program's
/// nodes and the published ones have nothing in common but their structure. By that they are
/// paired.
namespace Qcf::Mirror {

namespace {

using Node = Eval::AetNodeBase;

/// What a pair of equal functions has of places.
class TableMaker {
public:
    TableMaker(TextPlace const & function, PlaceOfNode const & placeOf)
        : function_(function), placeOf_(placeOf) {}

    PtrConst<PlaceTable> make(Node const & written, Node const & published);

private:
    using Pair = std::pair<Node const *, Node const *>;

    void addRow(Pair const & pair);
    void addChildren(Pair const & pair);

    TextPlace const & function_;
    PlaceOfNode const & placeOf_;
    std::vector<Pair> open_;
    std::unordered_set<Node const *> seen_;      ///< of those that were written
    std::unordered_map<U64, Node const *> keys_; ///< of those that were published
    std::unordered_set<U64> shared_;             ///< keys of two nodes: of no use
    std::vector<PlaceTable::Row> rows_;
};

PtrConst<PlaceTable> TableMaker::make(Node const & written, Node const & published) {
    open_.emplace_back(&written, &published);
    while (!open_.empty()) {
        Pair const pair = open_.back();
        open_.pop_back();
        if (seen_.insert(pair.first).second) {
            addRow(pair);
            addChildren(pair);
        }
    }
    std::erase_if(rows_, [&](PlaceTable::Row const & row) { return shared_.contains(row.key); });
    return makePtr<PlaceTable>(std::move(rows_));
}

// What another one has published may have one key in two classes.
void TableMaker::addRow(Pair const & pair) {
    auto const place = placeOf_(*pair.first);
    bool const isHere = place && place->file == function_.file && place->line >= function_.line &&
                        place->endLine >= place->line;
    if (!isHere) {
        return;
    }
    U64 const key = pair.second->aetNodeKey();
    auto const [known, isNew] = keys_.try_emplace(key, pair.second);
    if (isNew) {
        rows_.push_back({key, place->line - function_.line, place->column,
                         place->endLine - function_.line, place->endColumn, place->reason});
    } else if (known->second != pair.second) {
        shared_.insert(key);
    }
}

// Values are no places, and functions that are called have tables of their own.
void TableMaker::addChildren(Pair const & pair) {
    std::vector<Node const *> children;
    pair.first->typeData().visitChildren(
        *pair.first,
        [&](Eval::FieldInfo const &, Node const * child) { children.push_back(child); });
    std::size_t at = 0;
    pair.second->typeData().visitChildren(*pair.second, [&](Eval::FieldInfo const &,
                                                            Node const * child) {
        Node const * const written = at < children.size() ? children[at++] : nullptr;
        bool const isPair =
            written != nullptr && child != nullptr && &written->typeData() == &child->typeData();
        if (isPair && !Eval::is<Eval::Function>(*child) && !child->typeData().facts.isShared) {
            open_.emplace_back(written, child);
        }
    });
}

/// What becomes of the places of a function of a program; nothing where they stay.
std::optional<VersionPlaces::Change> changeOf(Eval::Function const & function,
                                              AllFunctionStatus const & published,
                                              PlaceOfNode const & placeOf,
                                              VersionPlaces const & before) {
    String const & name = function.funcName();
    auto const at = placeOf ? placeOf(function) : std::nullopt;
    auto const stored = published.aet(std::string_view(name));
    FunctionPlaces const * const known = before.find(name);
    VersionPlaces::Change change{name, {}};
    if (!at || !stored) {
        return known != nullptr ? std::optional(change) : std::nullopt;
    }
    FunctionPlaces made{at->file, at->line, TableMaker(*at, placeOf).make(function, *stored)};
    if (known != nullptr && known->isSame(made)) {
        return std::nullopt;
    }
    if (known != nullptr && known->table->rows() == made.table->rows()) {
        made.table = known->table;
    }
    change.value = std::move(made);
    return change;
}

} // namespace

PlaceTable::PlaceTable(std::vector<Row> rows) : rows_(std::move(rows)) {
    std::ranges::stable_sort(rows_, {}, &Row::key);
    rows_.erase(std::unique(rows_.begin(), rows_.end(),
                            [](Row const & a, Row const & b) { return a.key == b.key; }),
                rows_.end());
}

PlaceTable::Row const * PlaceTable::find(U64 key) const {
    auto const at = std::ranges::lower_bound(rows_, key, {}, &Row::key);
    return at == rows_.end() || at->key != key ? nullptr : &*at;
}

std::optional<TextPlace> FunctionPlaces::find(U64 key) const {
    auto const * const row = table->find(key);
    if (row == nullptr) {
        return std::nullopt;
    }
    return TextPlace{file,           line + row->line, row->column, line + row->endLine,
                     row->endColumn, row->reason};
}

bool FunctionPlaces::isSame(FunctionPlaces const & other) const {
    return file == other.file && line == other.line &&
           (table == other.table || table->rows() == other.table->rows());
}

VersionPlaces placesOf(Documents::Program const & program, AllFunctionStatus const & published,
                       PlaceOfNode const & placeOf, VersionPlaces const & before) {
    std::unordered_set<std::string_view> names;
    for (auto const & function : program.functions) {
        names.insert(function->funcName());
    }
    std::vector<String> gone;
    before.each([&](VersionPlaces::Entry const & entry) {
        if (!names.contains(entry.name)) {
            gone.push_back(entry.name);
        }
    });
    return placesWithPart(program, gone, published, placeOf, before);
}

VersionPlaces placesWithPart(Documents::Program const & part, std::vector<String> const & gone,
                             AllFunctionStatus const & published, PlaceOfNode const & placeOf,
                             VersionPlaces const & before) {
    std::vector<VersionPlaces::Change> changes;
    changes.reserve(gone.size());
    for (String const & name : gone) {
        if (!part.find(name)) {
            changes.push_back({name, {}});
        }
    }
    for (auto const & function : part.functions) {
        if (auto change = changeOf(*function, published, placeOf, before)) {
            changes.push_back(std::move(*change));
        }
    }
    return before.with(std::move(changes));
}

U64 placesThatDiffer(VersionPlaces const & a, VersionPlaces const & b) {
    U64 count = 0;
    VersionPlaces::eachDifference(a, b, [&](auto const * before, auto const * after) {
        bool const isSame =
            before != nullptr && after != nullptr && before->value.isSame(after->value);
        count += isSame ? 0 : 1;
    });
    return count;
}

} // namespace Qcf::Mirror
