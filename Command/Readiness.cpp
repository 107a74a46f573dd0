#include "Command/Readiness.h"

#include "Platform/Render/Utf8.h"

using Qcf::Lists::Finding;

void addAllowUndefinedLists(CLI::App & command, bool & target) {
    command.add_flag("--allow-undefined-lists", target,
                     "Take a name that nothing defines for an empty list, with a warning");
}

// Everything is told and not just what comes first, so that one run shows all that is missing.
bool Readiness::of(Qcf::Eval::Function const & function, Qcf::Lists::PlaceOf const & placeOf,
                   Qcf::Lists::NamedLists const * lists) const {
    bool ready = true;
    for (Finding const & finding :
         Qcf::Lists::unboundUses(Qcf::Lists::reachedLists(function, placeOf), lists)) {
        // The other kind is a prefix list of the other family, which is told and stops nothing.
        bool const undefined = finding.kind == Finding::Kind::undefinedList;
        if (undefined && !allowUndefined_) {
            tellError(finding.place + ": " + finding.text);
            ready = false;
        } else {
            tellWarning(finding.place + ": warning: " + finding.text +
                        (undefined ? ", it acts as an empty list" : ", it acts as no list"));
        }
    }
    // Of a function that is not evaluated it does not matter what it would answer.
    if (ready && function.argumentsExpected()) {
        tellWarning(argumentsWarning(subject_, function));
    }
    return ready;
}

String argumentsWarning(String const & subject, Qcf::Eval::Function const & function) {
    constexpr std::size_t longestName = 200;
    return subject + ": warning: function \"" + oneLine(function.funcName(), longestName) +
           "\" expects arguments, which only a call gives it: it answers false";
}
