#pragma once

#include "Agent/Routes/RouteReader.h"
#include "Lists/ByteSource.h"
#include "Lists/Reporter.h"

namespace Qcf::Agent {

/// Opens a file of routes ("-" is standard input): MRT or JSON lines, plain or compressed by gzip,
/// bzip2 or xz. What it is is told by its content alone; an empty file is a table without routes.
///
///     auto const reader = openRoutes("rib.mrt.bz2", report);
///     for (Route route; reader->next(route);) {
///         ...
///     }
///
/// `report` is given the damage that is met and what follows compressed data, one line each, which
/// names the file; after the first 20 lines only their number is told, at the end. Throws FileError
/// for a file that cannot be opened or is neither format.
///
/// With more than one of `threads` compressed data are decompressed beside the reading, in so many
/// threads at most; what is read and told is the same.
std::unique_ptr<RouteReader> openRoutes(String const & path, Lists::Reporter report,
                                        U32 threads = 1);

/// The same for bytes that are at hand; `name` is what the texts call them.
std::unique_ptr<RouteReader> openRoutes(std::unique_ptr<Lists::ByteStream> stream,
                                        String const & name, Lists::Reporter report,
                                        U32 threads = 1);

} // namespace Qcf::Agent
