#pragma once

#include "bench/Table.h"

#include <filesystem>

namespace Qcf::Bench {

/// The tables of routers that are at hand: MRT files of some size in `mrt/` of the folder that
/// QCF_DATA_DIR names, the one first that holds most. None, with a message, where there are none.
std::vector<std::filesystem::path> realTables();

/// How routes share attributes. All but the prefix and the session counts as an attribute.
struct SharingFacts {
    String table;
    U64 routes = 0;
    U64 equalToLast = 0; ///< has the attributes of the route before it of the same session
    U64 distinct = 0;    ///< has attributes that no route before had, of whatever session
};

SharingFacts sharingOf(String name, Agent::TableGenerator generator);
/// Of the first routes of a file.
SharingFacts sharingOf(std::filesystem::path const & file, std::size_t most);

} // namespace Qcf::Bench
