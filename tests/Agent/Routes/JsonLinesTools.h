#pragma once

#include "Agent/Routes/JsonLinesReader.h"
#include "Agent/Routes/JsonLinesWriter.h"

#include <vector>

/// What reading JSON lines gives, in the words of the writer.
namespace Qcf::Agent::test {

struct LinesRead {
    std::vector<String> routes; ///< each as the writer writes it, without line end
    String error;               ///< what ended the reading before the end
    ReadStatistics statistics;
};

inline LinesRead readLines(String bytes, String const & name = "t.jsonl") {
    LinesRead read;
    auto const reader =
        makeJsonLinesReader(Lists::ByteSource(Lists::makeMemoryStream(std::move(bytes))), name, {});
    String text;
    JsonLinesWriter writer(text);
    Route route;
    try {
        while (reader->next(route)) {
            text.clear();
            writer.add(route);
            text.pop_back();
            read.routes.push_back(text);
        }
    } catch (std::runtime_error const & error) {
        read.error = error.what();
    }
    read.statistics = reader->statistics();
    return read;
}

} // namespace Qcf::Agent::test
