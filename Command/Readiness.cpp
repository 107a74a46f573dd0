#include "Command/Readiness.h"

#include "Command/Colours.h"
#include "Platform/Render/Utf8.h"

#include <iostream>

#include <unistd.h>

using Qcf::Lists::Finding;

// One write of the whole, so that lines of other threads do not come in between.
void tell(String const & lines) {
    std::cerr << colouredMessages(visibleLines(lines), STDERR_FILENO) << std::flush;
}
void tellLine(String const & line) { tell(line + '\n'); }

void addAllowUndefinedLists(CLI::App & command, bool & target) {
    command.add_flag("--allow-undefined-lists", target,
                     "Take a name that nothing defines for an empty list, with a warning");
}

// Everything is told and not just what comes first, so that one run shows all that is missing.
bool Readiness::of(Qcf::Eval::Function const & function, Qcf::Lists::PlaceOf const & placeOf,
                   Qcf::Lists::NamedLists const * lists) const {
    bool ready = true;
    String text;
    for (Finding const & finding :
         Qcf::Lists::unboundUses(Qcf::Lists::reachedLists(function, placeOf), lists)) {
        // The other kind is a prefix list of the other family, which is told and stops nothing.
        bool const undefined = finding.kind == Finding::Kind::undefinedList;
        bool const refused = undefined && !allowUndefined_;
        text += finding.place + (refused ? ": " : ": warning: ") + finding.text;
        text += refused     ? "\n"
                : undefined ? ", it acts as an empty list\n"
                            : ", it acts as no list\n";
        ready = ready && !refused;
    }
    // Of a function that is not evaluated it does not matter what it would answer.
    if (ready && function.argumentsExpected()) {
        text += argumentsWarning(subject_, function) + '\n';
    }
    tell(text);
    return ready;
}

String argumentsWarning(String const & subject, Qcf::Eval::Function const & function) {
    constexpr std::size_t longestName = 200;
    return subject + ": warning: function \"" + oneLine(function.funcName(), longestName) +
           "\" expects arguments, which only a call gives it: it answers false";
}
