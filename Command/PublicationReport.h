#pragma once

#include "Command/Command.h"
#include "Documents/Program.h"
#include "Mirror/Redis/LoadedStore.h"
#include "Mirror/Redis/RedisWriter.h"

/// Adds --keep: how many versions a publication keeps to go back to, for the name from then on.
/// `target` must outlive the parsing.
void addKeep(CLI::App & command, std::optional<U64> & target);

/// What a publication came to, as a line for people: "published edge version 2, digest ...".
String outcomeText(Qcf::Mirror::PublishOutcome const & outcome, String const & name);

/// What publishing the program and the lists would come to: the same line, and one for each
/// function and each list that would be added (+), changed (~) or removed (-). `store` is what the
/// server has under the keys, and is changed by asking. Throws MirrorError when something cannot be
/// published.
String previewText(Qcf::Documents::Program const & program,
                   std::vector<Qcf::Lists::ListRecord> lists,
                   Qcf::Mirror::PlaceOfNode const & placeOf, Qcf::Mirror::LoadedStore & store,
                   Qcf::Mirror::RedisKeys const & keys);
