#pragma once

#include "Agent/Evaluation/ParallelEvaluation.h"
#include "Watch/Explanation.h"

#include <functional>

namespace Qcf::Watch {

/// A route that was evaluated, with what was seen of it. For who shows it, as long as it lasts.
struct ExplainedRoute {
    Agent::Evaluated const & evaluated;
    Watched const & watched;
    NodePlaces const & places;
};

/// Appends the explanation of a route for people: the verdict with what decided, the lines that led
/// there with the values that they read, and what was changed. With `all` everything that was
/// evaluated.
void appendExplanation(String & out, ExplainedRoute const & route, bool all);

/// Writes the same for programs, as one object with the whole tree. `more` writes further members
/// of it; may be empty.
void renderExplanation(ExplainedRoute const & route, RendererV2 & renderer,
                       std::function<void()> const & more = {});

/// Writes the place of a deciding statement as the value of a member: file, line and column, or
/// file and pointer, and the reason, null for none. Null where no statement decided.
void renderDecidedBy(NodePlace const * place, String const & reason, RendererV2 & renderer);

} // namespace Qcf::Watch
