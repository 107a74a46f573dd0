#pragma once

#include "Platform/Render/DocumentError.h"
#include "Platform/Render/RendererV2.h"
#include "QcfLib/QcfEval.h"

#include <string_view>
#include <vector>

/// Evaluation-tree documents: reading them into nodes, and writing nodes as a document.
///
///     Program const program = readProgramFile("policy.json");
///     if (PtrConst<Function> const import = program.find("import")) {
///         import->eval(context);
///     }
///
/// What was read can be evaluated: no tree is too deep, no operand returns, every call passes what
/// its callee reads. The exceptions are told beside the functions (`FunctionFault`). Whatever is
/// wrong with a document is a DocumentError with the place, of one line; nothing from outside ends
/// the process, and memory and time are bounded by the document's size and `ProgramLimits`.
///
/// What is written reads back to equal nodes under the same keys. Reading and writing keep nothing
/// between calls, so that any number of threads may do either; nodes are shared as ever.
namespace Qcf::Documents {

class Places;

/// A named list that a document refers to.
struct NamedList {
    String kind;    ///< the member of FunctionMetadata, "commListsUsed"
    String name;    ///< what the agent knows the list by
    U16 slot;       ///< the slot that the document's functions select it by
    String pointer; ///< JSON pointer of the node that uses it first
};

/// What is wrong with a function's tree although it can be read. Empty texts mean nothing is.
struct FunctionFault {
    /// Why the function cannot be evaluated at its point of attachment: it reads arguments that
    /// only a call gives.
    String eval;
    /// Why its text form cannot be printed: operands and operators of a logical chain do not match.
    String dump;
};

/// The content of an evaluation-tree document.
///
/// Nodes are shared as far as they are equal, so this is the form in which they are published:
/// adding `nodes` to a store in their order puts children before their parents.
struct Program {
    /// Every node once, functions too, in the order in which keys were given; children first.
    std::vector<PtrConst<Eval::AetNodeBase>> nodes;
    /// The document's functions in document order.
    std::vector<PtrConst<Eval::Function>> functions;
    /// For each of `functions`.
    std::vector<FunctionFault> faults;
    /// All names of the document with their slots: what an agent fills its tables from.
    FunctionMetadata slots;
    /// The named lists in the order of their first use.
    std::vector<NamedList> lists;

    /// The function of that name; null when there is none.
    PtrConst<Eval::Function> find(std::string_view name) const;
    /// What is wrong with a function of this program.
    FunctionFault const & faultOf(Eval::Function const & function) const;
};

/// Limits on what a document may build, beside the depth of trees (Eval::maximumTreeDepth).
/// Evaluation, checks and dumps walk a tree as if nothing were shared: these keep a small document
/// from taking forever.
struct ProgramLimits {
    /// Nodes of a tree, shared ones and called functions counted at each place.
    static constexpr U64 unfoldedNodes = 100'000'000;
    /// Elements, over the document, of the literal lists and sets whose values are kept.
    static constexpr U64 constantElements = 16'000'000;
    /// Steps, over the document, in which the names that functions use are collected.
    static constexpr U64 nameSteps = 64'000'000;
};

/// A function of a document that could not be read.
struct UnreadFunction {
    std::size_t position; ///< in the document's list of functions
    String name;          ///< empty where it has none
    DocumentError error;
};

/// What a reader is asked for beside the program; may be null.
struct ReadAlong {
    /// Takes the places of the nodes.
    Places * places = nullptr;
    /// Takes the functions that cannot be read, each with its first error, which then no longer
    /// ends the reading: the program has the others. Such a program is good for checks alone.
    std::vector<UnreadFunction> * unread = nullptr;
};

/// Reads a document. `fileName` is for messages, the text may be of any content. Throws
/// DocumentError, whose text is one line with the place, what is wanted there and what was found.
Program readProgram(String text, String const & fileName, ReadAlong const & along = {});
/// The same of a file; "-" is standard input.
Program readProgramFile(String const & path, ReadAlong const & along = {});

/// How the parts of a node are written for which other readers than those of documents want more.
/// This one writes as documents do.
class NodeStyle {
public:
    virtual ~NodeStyle() = default;
    virtual void text(std::string_view text, RendererV2 & out) const { out.value(text); }
    /// A text in the place of a member's name.
    virtual void name(std::string_view name, RendererV2 & out) const { out.key(name); }
    virtual void number(F32 value, RendererV2 & out) const { out.value(value); }
    /// What stands for a child.
    virtual void reference(Eval::AetNodeBase const & child, RendererV2 & out) const;
    /// Whether what a document's reader works out by itself is left out: keys, callees that are
    /// named, declarations of functions.
    virtual bool isBrief() const { return false; }
    /// Called for a child that is null, which is left out.
    virtual void absent(Eval::FieldInfo const & /*field*/) const {}
};

/// Writes the program as a document in flat form: every node in `nodes`, children first, each with
/// its key. It reads back to equal nodes under the same keys.
void writeProgram(Program const & program, RendererV2 & renderer,
                  NodeStyle const & style = NodeStyle());

/// Writes one node as members of the object that is open: class, key and fields, as it stands in a
/// flat document, where children are references to their keys.
void writeNodeMembers(Eval::AetNodeBase const & node, NodeStyle const & style,
                      RendererV2 & renderer);

} // namespace Qcf::Documents
