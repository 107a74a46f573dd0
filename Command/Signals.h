#pragma once

/// What signals ask of a command that stays. They are noted, and acted on where that is due.

/// SIGINT and SIGTERM ask for an end; a second one ends the process at once.
void stopOnSignals();
/// Whether an end was asked for.
bool stopIsAsked();

/// SIGHUP asks to read files again, where there is no terminal that says by it that it is gone.
void reloadOnSignal();
/// Whether that was asked for since it was last taken.
bool reloadIsAsked();
/// The same, and it counts as done.
bool reloadIsTaken();
