#pragma once

#include "Command/PolicyFile.h"
#include "Lists/ListRecord.h"

/// The lists that are published with a policy: those of its text, those of `file` over them (empty
/// for none), and of all these the ones that its functions name.
///
/// A name that has no list is told as a warning, since agents may bring lists of their own; where
/// there are no lists at all nothing is told. Throws DocumentError, also for a prefix list of
/// another family than a function asks for: every agent would turn that version down.
std::vector<Qcf::Lists::ListRecord> listsToPublish(PolicyFile const & policy, String const & file);
