#include "Text/LineBreaks.h"

#include "Text/CommentColumns.h"
#include "Text/TokenGaps.h"

#include <algorithm>

/// Breaks are only added where a statement or entry begins, behind an opening brace of a block and
/// before its closing one; a reader sees the same statements either way. Each token is looked at a
/// bounded number of times: how wide a line would be follows from where its ends would stand if the
/// whole text were one line.
namespace Qcf::Text {

namespace {

constexpr U32 level = 2;
/// Deeper than the block that may follow.
constexpr U32 continuation = 4;
constexpr U64 widestLine = 120;

/// What an entry of a list goes on with.
constexpr std::string_view entryWords[] = {"ge", "le", "max", "origin"};

} // namespace

LineBreaks::LineBreaks(TokenTree const & tree) : tree_(tree) {
    findWidths();
    findEnds();
}

U64 LineBreaks::width(U32 i) const { return columnBehind(tree_.text(i)); }

void LineBreaks::findWidths() {
    std::vector<BracketKind> around{BracketKind::none};
    columns_.reserve(tree_.size());
    U64 column = 0;
    for (U32 i = 0; i < tree_.size(); ++i) {
        column += i == 0 ? 0 : blanksBefore(tree_, i, around.back());
        columns_.push_back(column);
        column += width(i);
        if (tree_.opens(i)) {
            around.push_back(tree_.kind(i));
        } else if (tree_.closes(i)) {
            around.pop_back();
        }
    }
}

// From the back: each block hands its inside the place of its end, and what begins a statement in
// it is the end of those before.
void LineBreaks::findEnds() {
    struct Around {
        BracketKind kind;
        U32 end;
    };
    U32 const size = tree_.size();
    breaks_.assign(size + 1, size);
    ends_.assign(size, size);
    std::vector<Around> around{{BracketKind::block, size}};
    for (U32 i = size; i-- > 0;) {
        breaks_[i] = tree_[i].startsLine ? i : breaks_[i + 1];
        if (tree_.opens(i)) {
            around.pop_back();
        }
        auto & [kind, end] = around.back();
        ends_[i] = std::min(end, breaks_[i + 1]);
        if (holdsStatements(kind) && tree_.separates(i, kind)) {
            end = i;
        }
        if (tree_.closes(i)) {
            BracketKind const closed = tree_.kind(tree_.mate(i));
            around.push_back({closed, holdsStatements(closed) ? i : end});
        }
    }
}

bool LineBreaks::next(U32 i) {
    inside_ = open_.empty() ? BracketKind::none : open_.back().kind;
    bool const begins = tree_[i].startsLine || mustBreak(i);
    if (begins) {
        beginLine(i);
    }
    if (tree_.closes(i)) {
        open_.pop_back();
    }
    if (tree_.opens(i)) {
        enter(i);
    }
    return begins;
}

bool LineBreaks::mustBreak(U32 i) const {
    if (open_.empty()) {
        return tree_.separates(i, BracketKind::none);
    }
    Open const & around = open_.back();
    bool const isEdge = around.at + 1 == i || tree_.mate(around.at) == i;
    return around.isBroken && (isEdge || tree_.separates(i, around.kind));
}

void LineBreaks::beginLine(U32 i) {
    // Behind a block that was broken for its width goes on what was too wide with it.
    if (tree_.closes(i) && open_.back().byWidth) {
        U32 const indent = open_.back().indent;
        line_ = open_.back().line;
        line_.indent = indent;
        return;
    }
    line_.indent = indentFor(i);
    U32 const last = ends_[i] - 1;
    U64 const end = columns_[last] + width(last);
    line_.isWide = line_.indent + end - columns_[i] > widestLine;
}

void LineBreaks::enter(U32 i) {
    BracketKind const kind = tree_.kind(i);
    bool const isBlock = holdsStatements(kind);
    bool const isBroken = isBlock && hasLineBreakInside(i);
    bool const byWidth = isBlock && !isBroken && line_.isWide && tree_.mate(i) != i + 1;
    bool const isOfStatement = isBlock && (open_.empty() || holdsStatements(open_.back().kind));
    U32 const indent = isOfStatement ? statementIndent() : line_.indent;
    open_.push_back({i, kind, isBroken || byWidth, byWidth, indent, line_});
}

bool LineBreaks::hasLineBreakInside(U32 opener) const {
    return breaks_[opener + 1] <= tree_.mate(opener);
}

U32 LineBreaks::indentFor(U32 i) const {
    if (tree_.closes(i)) {
        return open_.back().indent;
    }
    bool const isInValue = !open_.empty() && !holdsStatements(open_.back().kind);
    return statementIndent() + (!isInValue && continues(i) ? continuation : 0);
}

U32 LineBreaks::indentOfComment(U32 i) const {
    if (i < tree_.size() && !tree_.closes(i)) {
        return indentFor(i);
    }
    return statementIndent();
}

// Within values: of the lines in it.
U32 LineBreaks::statementIndent() const { return open_.empty() ? 0 : open_.back().indent + level; }

bool LineBreaks::continues(U32 i) const {
    if (i == 0 || holdsStatements(tree_.kind(i))) {
        return false;
    }
    bool const isWanted = !tree_.isString(i - 1) && wantsOperand(tree_.text(i - 1));
    bool const isContinued = !tree_.isString(i) && continuesStatement(tree_.text(i));
    if (open_.empty()) {
        return isWanted || isContinued || !beginsDeclaration(tree_.text(i));
    }
    bool const isOfEntry = open_.back().kind == BracketKind::list &&
                           std::ranges::count(entryWords, tree_.text(i)) != 0;
    return isWanted || isContinued || isOfEntry;
}

} // namespace Qcf::Text
