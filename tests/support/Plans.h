#pragma once

#include "QcfLib/Plan.h"
#include "tests/support/RecordingContext.h"
#include "tests/support/Trees.h"

/// Evaluating by plan or by tree, as a test wants it.
namespace Qcf::Eval::test {

/// Switches plans for the time of a test.
class PlansEnabled {
public:
    explicit PlansEnabled(bool enabled) : before_(Plan::enabled()) { Plan::enabledIs(enabled); }
    PlansEnabled(PlansEnabled const &) = delete;
    PlansEnabled & operator=(PlansEnabled const &) = delete;
    ~PlansEnabled() { Plan::enabledIs(before_); }

private:
    bool before_;
};

/// Result and what was written back.
inline String outcome(Function const & function, Ptr<RecordingContext> const & context) {
    context->reset();
    context->calls.clear();
    String text = textOf(function.eval(context));
    for (String const & call : context->calls) {
        text += call.find("Is ") != String::npos || call.ends_with("Is") ? "; " + call : "";
    }
    return text;
}

} // namespace Qcf::Eval::test
