#pragma once

#include "Agent/Routes/RouteReader.h"
#include "Lists/Reporter.h"

#include <atomic>
#include <exception>
#include <vector>

namespace Qcf::Agent {

/// Several files of routes read as one table: the routes of the first file, then those of the
/// second, and so on, with the formats and the messages of `openRoutes`.
///
///     RouteFiles files({"rib.mrt.bz2", "updates.mrt.gz"}, report, threads);
///     evaluateTable(files, run);
///     files.fileOf(evaluated.number); // "updates.mrt.gz"
///
/// While a file is read the next one is open already, and its decompression at work, as far as it
/// gets before somebody takes routes of it. Pipes and standard input wait for their turn.
///
/// Used as any reader; `fileOf` by any thread.
class RouteFiles final : public RouteReader {
public:
    /// Throws FileError for a path that cannot be read at all, whichever it is. What a file holds
    /// is found out when its turn comes: then `next` and `RouteShare::take` throw.
    RouteFiles(std::vector<String> paths, Lists::Reporter report, U32 threads);

    bool next(Route & route) override;
    /// Of all files together; `bytes` is the sum.
    ReadStatistics const & statistics() const override;
    std::unique_ptr<RouteShare> makeShare() override;

    /// The file of a route, by its number in the table. The route must have been read, and its
    /// share settled.
    String const & fileOf(U64 number) const;

private:
    struct File;
    class Share;

    /// A file that was opened before its turn, or what came of trying.
    struct Opened {
        std::shared_ptr<File> file;
        std::exception_ptr failure;
    };

    /// The file whose turn it is; null behind the last one.
    std::shared_ptr<File> const & current();
    /// Ends a file's turn.
    void endTurn();
    Opened open(std::size_t index);
    /// Counts routes of a file; in the order of the table.
    void number(std::size_t index, U64 routes);

    std::vector<String> const paths_;
    Lists::Reporter const report_;
    U32 const threads_;

    /// What was met in files that are closed; they add it, and so it outlives them.
    ReadStatistics closed_;
    mutable ReadStatistics all_;
    std::size_t turn_ = 0; ///< index of the current file
    std::shared_ptr<File> current_;
    Opened following_;

    /// By file, the number of its first route, once it is known: written by whoever settles, in
    /// turn, and read by all.
    std::unique_ptr<std::atomic<U64>[]> firstRoutes_;
    std::size_t numbered_ = 0; ///< files that have such a number
    U64 routes_ = 0;
};

} // namespace Qcf::Agent
