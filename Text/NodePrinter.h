#pragma once

#include "Text/OperatorTable.h"
#include "Text/PolicyLines.h"
#include "Text/PrintedProgram.h"

namespace Qcf::Text {

/// Writes the nodes of one function as policy text: each by the construct that reads back as it,
/// or raw where there is none.
///
///     NodePrinter printer(printed, signature, lines);
///     printer.block(*function.body());
///
/// Chains are walked by loop; what is nested is nested here, too, which trees bound. Its sources
/// are PrintedStatements.cpp, PrintedConditions.cpp, PrintedValues.cpp and PrintedRaw.cpp.
class NodePrinter {
public:
    /// All must outlive it.
    NodePrinter(PrintedProgram const & program, Signature const & signature, PolicyLines & lines)
        : program_(program), signature_(signature), lines_(lines) {}

    /// `{`, the statements in lines of their own, `}`; the line goes on. A null one is empty.
    void block(Eval::Block const * block);
    /// Any node but a function: what it is where it stands, the links of a chain with commas.
    void node(Eval::AetNodeBase const & node);

private:
    using Node = Eval::AetNodeBase;

    /// How the left side of an operator wants the constants on its right.
    struct Style {
        std::span<std::string_view const> valueNames = {}; ///< of 0 and so on
        bool standardCommunities = false;                  ///< integers are such
        bool communities = false;                          ///< an empty set is one of these
    };

    // NodeText.cpp
    void entries(Node const & first);

    // PrintedStatements.cpp
    void statement(Eval::Expression const & node);
    void ifElse(Eval::IfExpression const & node);
    static bool isIfElse(Node const & node);
    bool leave(Node const & node);

    // PrintedConditions.cpp
    void condition(Eval::Expression const & node);
    void operand(Eval::Expression const & node);
    bool inParentheses(Eval::Expression const & node);
    static bool isChain(Node const & node);
    void chain(Eval::LogicalOperatorExpression const & node);
    bool call(Node const & node);
    Style argumentStyle(Eval::FunctionCallExpression const & call, std::size_t position) const;
    /// Writes a test or a change; false for what is none or has no spelling.
    bool operation(Node const & node);
    bool isChange(Node const & node) const;
    bool beginsWithBracket(Node const & node) const;
    bool rangesTest(Node const & node);
    void listReference(Node const & node, Node const & left);
    static Style styleOf(Node const & node, Node const & left);

    // PrintedValues.cpp
    void value(Node const & node) { value(node, Style()); }
    void value(Node const & node, Style const & style);
    bool constant(Node const & node, Style const & style);
    bool variable(Node const & node);
    bool namedList(Node const & node);
    void slot(PrintedList const & list);
    bool literal(Node const & node, Style const & style);
    bool madeCommunity(Node const & node);
    bool isLinkBandwidth(Eval::CommunityValueDynamic const & node) const;
    bool ribs(Node const & node);
    /// Whether a value has another spelling than a raw one.
    bool isSpelled(Node const & node) const;

    // PrintedRaw.cpp
    void raw(Node const & node);
    void rawField(Eval::FieldInfo const & field, Node const * child);
    void rawChain(Node const & head);
    friend class RawFields;

    void put(std::string_view piece) { lines_.put(piece); }
    void open(std::string_view bracket);
    void close(std::string_view bracket);
    /// Before all but the first of a bracket's parts.
    void separate(bool isFirst);

    PrintedProgram const & program_;
    Signature const & signature_;
    PolicyLines & lines_;
};

} // namespace Qcf::Text
