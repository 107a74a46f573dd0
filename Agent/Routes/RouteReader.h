#pragma once

#include "Agent/Routes/Route.h"

#include <memory>

namespace Qcf::Agent {

/// What a reader has met so far. Counts of a file that is read by several shares come to the same.
struct ReadStatistics {
    U64 records = 0;         ///< records of the file (lines, for a text), whatever they held
    U64 routes = 0;          ///< routes handed out
    U64 withdrawals = 0;     ///< prefixes withdrawn; they are no routes
    U64 damagedRecords = 0;  ///< records of which something could not be read
    U64 skippedRecords = 0;  ///< records that carry no routes: state changes, OPEN, other protocols
    U64 skippedFamilies = 0; ///< announcements and withdrawals of families that are not read
    U64 bytes = 0;           ///< of the decompressed data, as far as they were read
    bool cut = false;        ///< the data ended inside a record or inside a compressed stream

    bool operator==(ReadStatistics const &) const = default;

    /// Adds what was met in a part of the same data.
    void add(ReadStatistics const & part);
};

/// One thread's share in reading a file together with others. Each takes piece after piece of the
/// data and decodes it by itself. The shares must not outlive their reader.
///
///     while (share->take()) {         // one share at a time
///         while (share->next(route)) { // side by side
///             ...
///         }
///         share->settle();            // in the order in which they took
///     }
class RouteShare {
public:
    /// To be gone before the reader.
    virtual ~RouteShare() = default;

    /// Takes the next piece, which may turn out to hold no routes; false at the end, for good. The
    /// shares of a reader take one at a time; the order in which they do is that of the file.
    virtual bool take() = 0;

    /// As `RouteReader::next` for the piece taken last, whatever other shares do meanwhile.
    virtual bool next(Route & route) = 0;

    /// Adds what was met in the piece so far to the reader's statistics and reports, which is to be
    /// done once `next` was called and in the order of the file, by one thread at a time.
    virtual void settle() = 0;
};

/// Hands out the routes of a file one by one, in the order of the file. `openRoutes` makes the one
/// that a file's content asks for.
///
///     Route route; // one object for all routes
///     while (reader->next(route)) {
///         ...
///     }
///     reader->statistics().damagedRecords;
///
/// Memory does not grow with the file, and once the longest record and the largest route were met
/// nothing is allocated any more. One thread at a time.
///
/// Damage of MRT data never ends the reading before the end of the data, nor does it throw: it is
/// counted and told to the reporter. JSON lines are written by hand or by programs, so the first
/// line that is no route ends the reading: `next` throws DocumentError, which names the line.
class RouteReader {
public:
    /// Shares must be gone by then.
    virtual ~RouteReader() = default;

    /// Overwrites every attribute of `route`, reusing its storage; false at the end, for good, with
    /// `route` in no particular state.
    virtual bool next(Route & route) = 0;

    /// What was met so far; whole once `next` has answered false.
    virtual ReadStatistics const & statistics() const = 0;

    /// A share in reading the file, by as many threads as there are shares and instead of `next`.
    /// Null where the format can be read by one thread at a time only.
    virtual std::unique_ptr<RouteShare> makeShare() { return nullptr; }
};

} // namespace Qcf::Agent
