#pragma once

#include "Platform/Render/RendererV2.h"
#include "bench/Report.h"

/// Members of the report's JSON.
namespace Qcf::Bench {

template <typename Value>
void put(RendererV2 & json, char const * name, Value const & value) {
    json.key(name);
    json.value(value);
}

/// Leaves out what is not known.
inline void put(RendererV2 & json, char const * name, std::optional<double> const & number) {
    if (number) {
        put(json, name, *number);
    }
}

inline void put(RendererV2 & json, char const * name, Spread const & spread) {
    json.key(name);
    json.beginObject();
    put(json, "median", spread.median);
    put(json, "min", spread.low);
    put(json, "max", spread.high);
    json.endObject();
}

/// `"name": {...}` with what `members` puts.
template <typename Members>
void putObject(RendererV2 & json, String const & name, Members members) {
    json.key(name);
    json.beginObject();
    members();
    json.endObject();
}

/// The members `examples`, `sharing` and `jobs`.
void putExamples(RendererV2 & json, ExampleResults const & examples);
void putJobs(RendererV2 & json, JobResults const & jobs);

/// `"name": [...]`
template <typename Elements>
void putArray(RendererV2 & json, char const * name, Elements elements) {
    json.key(name);
    json.beginArray();
    elements();
    json.endArray();
}

} // namespace Qcf::Bench
