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

bool areSame(FunctionPlaces const & a, FunctionPlaces const & b) {
    return a.file == b.file && a.line == b.line &&
           (a.table == b.table || a.table->rows() == b.table->rows());
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

VersionPlaces placesOf(Documents::Program const & program, AllFunctionStatus const & published,
                       PlaceOfNode const & placeOf, VersionPlaces const & before) {
    VersionPlaces places;
    for (auto const & function : program.functions) {
        String const & name = function->funcName();
        auto const at = placeOf(*function);
        auto const stored = published.aet(std::string_view(name));
        if (!at || !stored) {
            continue;
        }
        FunctionPlaces made{at->file, at->line, TableMaker(*at, placeOf).make(*function, *stored)};
        auto const known = before.find(name);
        if (known != before.end() && known->second.table->rows() == made.table->rows()) {
            made.table = known->second.table;
        }
        places.emplace(name, std::move(made));
    }
    return places;
}

U64 placesThatDiffer(VersionPlaces const & a, VersionPlaces const & b) {
    U64 count = 0;
    for (auto const & [name, places] : a) {
        auto const other = b.find(name);
        count += other == b.end() || !areSame(places, other->second) ? 1 : 0;
    }
    for (auto const & [name, places] : b) {
        count += a.contains(name) ? 0 : 1;
    }
    return count;
}

} // namespace Qcf::Mirror
