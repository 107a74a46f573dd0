#pragma once

#include "Lists/ListExplanation.h"
#include "Watch/TraceNode.h"

namespace Qcf::Watch {

/// A test of a prefix or an address against a prefix list.
struct PrefixListTest {
    Eval::PrefixList const * list = nullptr; ///< null for other nodes
    IpGenPrefix candidate = {};
};

/// What the node asks of which list; the context is at that node.
PrefixListTest prefixListTest(Eval::Expression const & node, Eval::EvalContext & context);

/// What a named list answers at a node.
struct ListAnswer {
    /// The list itself, as it stands in the lists that were bound; null where none was asked.
    void const * list = nullptr;
    Lists::ListExplanation why = {};
};

/// Whether the node tests something against a named list: a prefix, community or AS-path list or a
/// tag set. ROA tables are asked otherwise.
bool asksList(Eval::Expression const & node);

/// Asks the list of such a node once more, with the value that the node has now. For other nodes,
/// and for lists that are not those of this project's agent, no list is answered.
ListAnswer listAnswer(Eval::Expression const & node, Eval::EvalContext & context);

/// Why a prefix list gives no answer at a node; empty where it gives one, and for other nodes.
///
///     "list LENGTHS has no entries", "list of the other family", "list not in use in vrf 7"
String whyListIsSilent(TraceNode const & at, Eval::EvalContext & context);

/// What the list that the node asks says of its candidate, by the list's own explanation: "entry 10
/// wants length 8..24". Empty for nodes that ask none, for lists that are not those of this
/// project's agent, and where the list is silent.
String listSays(TraceNode const & at, Eval::EvalContext & context);

} // namespace Qcf::Watch
