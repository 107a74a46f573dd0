#pragma once

namespace Qcf::Bench {

/// Runs the micro benchmarks with Google Benchmark's arguments; answers an exit status.
int runMicro(int argc, char ** argv);

} // namespace Qcf::Bench
