#include "Text/NodePrinter.h"

namespace Qcf::Text {

using namespace Eval; // NOLINT(google-build-using-namespace): every name here is one of its nodes

void NodePrinter::block(Block const * block) {
    lines_.openBlock();
    ExpressionList const * link = block != nullptr ? block->stmts().get() : nullptr;
    for (; link != nullptr; link = link->next().get()) {
        statement(*link->entry());
        lines_.endLine();
    }
    lines_.closeBlock();
}

// What has a form of its own as a statement; all else is as in a condition.
void NodePrinter::statement(Expression const & node) {
    if (auto const * const nested = as<Block>(node)) {
        block(nested);
    } else if (isIfElse(node)) {
        ifElse(static_cast<IfExpression const &>(node));
    } else if (!leave(node) && !(isChange(node) && operation(node))) {
        condition(node);
    }
}

// The end of a chain of `else if`s is a block or nothing; any other expression has no spelling
// there.
bool NodePrinter::isIfElse(Node const & node) {
    auto const * at = as<IfExpression>(node);
    if (at == nullptr) {
        return false;
    }
    while (at->elseBlock()) {
        Expression const & otherwise = *at->elseBlock();
        if (is<Block>(otherwise)) {
            return true;
        }
        at = as<IfExpression>(otherwise);
        if (at == nullptr) {
            return false;
        }
    }
    return true;
}

void NodePrinter::ifElse(IfExpression const & node) {
    IfExpression const * at = &node;
    for (;;) {
        put("if ");
        condition(*at->condition());
        put(" ");
        block(at->thenBlock().get());
        Expression const * const otherwise = at->elseBlock().get();
        if (otherwise == nullptr) {
            return;
        }
        put(" else ");
        if (auto const * const last = as<Block>(*otherwise)) {
            block(last);
            return;
        }
        at = as<IfExpression>(*otherwise);
    }
}

bool NodePrinter::leave(Node const & node) {
    Expression const * result = nullptr;
    if (auto const * const returned = as<ReturnExpression>(node)) {
        result = returned->expr().get();
    } else if (auto const * const left = as<ExitExpression>(node)) {
        result = left->expr().get();
    }
    if (result == nullptr) {
        return false;
    }
    put(node.typeData().facts.words);
    put(" ");
    condition(*result);
    return true;
}

void NodePrinter::open(std::string_view bracket) {
    put(bracket);
    lines_.openBracket();
}

void NodePrinter::close(std::string_view bracket) {
    lines_.closeBracket();
    put(bracket);
}

void NodePrinter::separate(bool isFirst) {
    if (!isFirst) {
        put(",");
        lines_.breakable();
    }
}

} // namespace Qcf::Text
