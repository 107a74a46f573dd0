#include "Questions/MutantEdits.h"

#include "Questions/MutantChains.h"

#include <algorithm>
#include <map>
#include <optional>

namespace Qcf::Questions {

using Text::TokenTree;

namespace {

using Swap = std::pair<std::string_view, std::string_view>;

/// Signs and words that become another one where they stand.
constexpr Swap swaps[] = {
    {"<", "<="},       {"<=", "<"},          {">", ">="},        {">=", ">"},
    {"+=", "-="},      {"-=", "+="},         {"*=", "+="},       {"add", "remove"},
    {"remove", "add"}, {"retain", "remove"}, {"permit", "deny"}, {"deny", "permit"},
};
/// What stands behind `has`: of several elements, and of one, of which any is all.
constexpr Swap ofSeveral[] = {{"any", "all"}, {"all", "any"}, {"none", "any"}};
constexpr Swap ofOne[] = {{"any", "none"}, {"all", "none"}, {"none", "any"}};

template <std::size_t count>
std::string_view otherOf(Swap const (&table)[count], std::string_view word) {
    auto const * const row = std::ranges::find(table, word, &Swap::first);
    return row == std::end(table) ? std::string_view() : row->second;
}

bool isPlainName(std::string_view name) {
    constexpr std::string_view inner =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789-";
    bool const begins = !name.empty() && name[0] != '-' && (name[0] < '0' || name[0] > '9');
    return begins && name.find_first_not_of(inner) == std::string_view::npos;
}

class Finder {
public:
    Finder(TokenTree const & tree, Text::Declarations const & declared) : tree_(tree) {
        for (Text::ListDeclaration const & list : declared.lists) {
            names_[{list.kind(), list.isV4()}].push_back(list.name());
        }
    }

    std::vector<Mutant> find() {
        for (U32 i = 0; i < tree_.size();) {
            i = declaration(i);
        }
        return std::move(mutants_);
    }

private:
    U32 declaration(U32 i);
    U32 braceBehind(U32 i) const;
    void tokens(U32 begin, U32 end);
    U32 token(U32 i);
    U32 skipped(U32 i) const;
    bool comparison(U32 i);
    void constants(U32 i);
    void listNames(U32 i);
    void add(U32 i, std::string_view to) { addSpan(i, i, to); }
    void addSpan(U32 first, U32 last, std::string_view to);
    void addBefore(U32 i, std::string_view from, std::string_view word);

    TokenTree const & tree_;
    std::map<std::pair<Lists::ListKind, bool>, std::vector<String>> names_;
    std::vector<Mutant> mutants_;
};

U32 Finder::braceBehind(U32 i) const {
    while (i < tree_.size() && !tree_.is(i, "{")) {
        i = tree_.opens(i) ? tree_.mate(i) + 1 : i + 1;
    }
    return i;
}

// What is above all brackets; answers where the next one may begin.
U32 Finder::declaration(U32 i) {
    bool const holdsBraces = tree_.is(i, "function") || tree_.is(i, "list") || tree_.is(i, "test");
    if (holdsBraces) {
        U32 const open = braceBehind(i);
        U32 const close = open < tree_.size() ? tree_.mate(open) : open;
        if (!tree_.is(i, "test")) {
            tokens(open + 1, close);
        }
        return close + 1;
    }
    if (tree_.is(i, "const")) {
        U32 end = i + 3;
        while (end < tree_.size() && !Text::beginsDeclaration(tree_.text(end))) {
            ++end;
        }
        tokens(i + 3, end);
        return end;
    }
    return tree_.opens(i) ? tree_.mate(i) + 1 : i + 1;
}

void Finder::tokens(U32 begin, U32 end) {
    for (U32 i = begin; i < std::min(end, tree_.size());) {
        i = token(i);
    }
}

// Behind what is no part of the behaviour: reasons, numbers of slots and entries, raw nodes.
U32 Finder::skipped(U32 i) const {
    if (tree_.is(i, "because") || tree_.is(i, "seq")) {
        return i + 2;
    }
    if (tree_.is(i, "@")) {
        bool const isRaw = i + 2 < tree_.size() && tree_.is(i + 2, "(") && !tree_[i + 2].afterGap;
        return isRaw ? tree_.mate(i + 2) + 1 : i + 2;
    }
    return i;
}

U32 Finder::token(U32 i) {
    if (U32 const behind = skipped(i); behind != i) {
        return behind;
    }
    auto const chain = tree_.is(i, "and") || tree_.is(i, "or") || tree_.is(i, "??")
                           ? mutantOfOperator(tree_, i)
                           : std::nullopt;
    if (chain) {
        mutants_.push_back(*chain);
        return i + 1;
    }
    if (tree_.isString(i)) {
        listNames(i);
        return i + 1;
    }
    std::string_view const other = otherOf(swaps, tree_.text(i));
    if (!other.empty()) {
        add(i, other);
    } else if (!comparison(i) && tree_.isWord(i)) {
        constants(i);
        listNames(i);
    }
    return i + 1;
}

// Each says the opposite, by a `not` that comes or goes.
bool Finder::comparison(U32 i) {
    bool const negated = i > 0 && tree_.is(i - 1, "not");
    if (tree_.is(i, "is")) {
        tree_.is(i + 1, "not") ? addSpan(i, i + 1, "is") : add(i, "is not");
    } else if (tree_.is(i, "not")) {
        bool const isTold = i > 0 && tree_.is(i - 1, "is");
        isTold ? void() : add(i, "");
    } else if (tree_.is(i, "has")) {
        bool const isOne = tree_.is(i + 2, "{") && tree_.mate(i + 2) == i + 4;
        auto const other = otherOf(isOne ? ofOne : ofSeveral, tree_.text(i + 1));
        other.empty() ? void() : add(i + 1, other);
    } else if (tree_.is(i, "in") || tree_.is(i, "matches")) {
        U32 const first = i > 0 && tree_.is(i - 1, "all") ? i - 1 : i;
        bool const isNegated = first > 0 && tree_.is(first - 1, "not");
        isNegated ? void() : addBefore(first, tree_.text(i), "not");
    } else if (tree_.is(i, "covered") && tree_.is(i + 1, "by")) {
        negated ? void() : addBefore(i, "covered by", "not");
    } else {
        return false;
    }
    return true;
}

// A bound moves the way in which its comparison does not.
void Finder::constants(U32 i) {
    auto const isBehind = [&](std::initializer_list<std::string_view> words) {
        return i > 0 && std::ranges::any_of(words, [&](auto w) { return tree_.is(i - 1, w); });
    };
    bool const isEnd = tree_.is(i + 1, "..") || isBehind({"..", "ge", "le", "max"});
    bool const isUpOnly = isBehind({">", "<="});
    bool const isDownOnly = isBehind({"<", ">="});
    auto const others = otherConstants(tree_.text(i), isEnd || isDownOnly);
    for (std::size_t k = 0; k < others.size(); ++k) {
        bool const isTold = (isDownOnly && k == 0 && others.size() > 1) || (isUpOnly && k > 0);
        if (!isTold) {
            add(i, others[k]);
        }
    }
}

void Finder::listNames(U32 i) {
    String const name = tree_.isString(i) ? Text::unquoted(tree_.text(i)) : String(tree_.text(i));
    for (auto const & [kind, names] : names_) {
        auto const at = std::ranges::find(names, name);
        if (at != names.end() && names.size() > 1) {
            String const & other = at + 1 == names.end() ? names.front() : *(at + 1);
            add(i, isPlainName(other) ? other : Text::quoted(other));
            return;
        }
    }
}

// A word that goes takes the blank behind it along.
void Finder::addSpan(U32 first, U32 last, std::string_view to) {
    U32 const begin = tree_[first].begin;
    U32 const end = to.empty() ? tree_[last + 1].begin : tree_[last].end;
    String from(tree_.source().substr(begin, tree_[last].end - begin));
    mutants_.push_back({begin, std::move(from), String(to), {{begin, end, String(to)}}});
}

void Finder::addBefore(U32 i, std::string_view from, std::string_view word) {
    U32 const begin = tree_[i].begin;
    String const to = String(word) + ' ';
    mutants_.push_back({begin, String(from), to + String(from), {{begin, begin, to}}});
}

} // namespace

std::vector<Mutant> mutantsOf(TokenTree const & tree, Text::Declarations const & declared) {
    return Finder(tree, declared).find();
}

String mutated(std::string_view text, Mutant const & mutant) {
    String changed;
    U32 done = 0;
    for (Mutant::Piece const & piece : mutant.pieces) {
        changed += text.substr(done, piece.begin - done);
        changed += piece.text;
        done = piece.end;
    }
    return changed += text.substr(done);
}

} // namespace Qcf::Questions
