// Drives a fuzz target where libFuzzer is not at hand: a number of runs over mutations of the files
// of a corpus, the same for the same seed.
//
//     FuzzMrt -runs=10000 -seed=1 [-first=RUN] [FILE-OR-FOLDER...]
//
// A run that fails is named on standard error; -first=RUN -runs=1 does it again alone.

#include "tests/support/Mutator.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string_view>
#include <vector>

#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(U8 const * data, std::size_t size);
/// Null in targets that have no mutations of their own.
extern "C" [[gnu::weak]] std::size_t LLVMFuzzerCustomMutator(U8 * data, std::size_t size,
                                                             std::size_t maxSize, unsigned seed);

namespace {

struct Options {
    U32 runs = 10000;
    U32 seed = 1;
    U32 first = 0;
    std::vector<String> corpus; ///< contents of the files
};

/// The mutations of bytes of this run.
Mutator * byteMutator;

extern "C" std::size_t LLVMFuzzerMutate(U8 * data, std::size_t size, std::size_t maxSize) {
    String const text(reinterpret_cast<char const *>(data), size);
    String const changed = byteMutator->mutate(text, {});
    std::size_t const length = std::min(changed.size(), maxSize);
    std::copy_n(changed.begin(), length, data);
    return length;
}

/// What a dying run says of itself.
char lastWords[64];

extern "C" void nameTheRun(int signal) {
    auto const written = ::write(STDERR_FILENO, lastWords, std::strlen(lastWords));
    std::signal(signal, SIG_DFL);
    std::raise(written < 0 ? SIGABRT : signal);
}

void addFile(std::filesystem::path const & path, std::vector<String> & corpus) {
    std::ifstream file(path, std::ios::binary);
    corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void addPath(std::filesystem::path const & path, std::vector<String> & corpus) {
    if (!std::filesystem::is_directory(path)) {
        addFile(path, corpus);
        return;
    }
    std::vector<std::filesystem::path> files;
    for (auto const & entry : std::filesystem::directory_iterator(path)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (auto const & file : files) {
        addFile(file, corpus);
    }
}

bool takeNumber(std::string_view argument, std::string_view name, U32 & number) {
    if (!argument.starts_with(name)) {
        return false;
    }
    argument.remove_prefix(name.size());
    auto const end = argument.data() + argument.size();
    return std::from_chars(argument.data(), end, number).ptr == end;
}

Options read(int argc, char ** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string_view const argument = argv[i];
        if (takeNumber(argument, "-runs=", options.runs) ||
            takeNumber(argument, "-seed=", options.seed) ||
            takeNumber(argument, "-first=", options.first)) {
            continue;
        }
        if (argument.starts_with('-') || !std::filesystem::exists(argument)) {
            std::cerr << argument << ": neither an option nor a file\n";
            std::exit(2);
        }
        addPath(argument, options.corpus);
    }
    if (options.corpus.empty()) {
        options.corpus.emplace_back("{\"");
    }
    return options;
}

/// An input for the run of that number.
String mutated(Options const & options, U32 run) {
    U32 const seed = options.seed * 1000003 + run;
    String const & input = options.corpus[run % options.corpus.size()];
    Mutator mutator(seed);
    if (LLVMFuzzerCustomMutator == nullptr || seed % 4 == 0) {
        return mutator.mutate(input, options.corpus);
    }
    byteMutator = &mutator;
    std::vector<U8> bytes(input.begin(), input.end());
    bytes.resize(2 * input.size() + 64);
    bytes.resize(LLVMFuzzerCustomMutator(bytes.data(), input.size(), bytes.size(), seed));
    return {bytes.begin(), bytes.end()};
}

void runOne(String const & input) {
    // A copy of exactly this size, so that a sanitizer sees a read past its end.
    std::vector<U8> const bytes(input.begin(), input.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

} // namespace

int main(int argc, char ** argv) {
    Options const options = read(argc, argv);
    for (int const signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGALRM}) {
        std::signal(signal, nameTheRun);
    }
    for (String const & file : options.corpus) {
        runOne(file);
    }
    constexpr unsigned secondsOfOneRun = 30;
    for (U32 run = options.first; run < options.first + options.runs; ++run) {
        std::snprintf(lastWords, sizeof lastWords, "\nfailed at -seed=%u -first=%u\n", options.seed,
                      run);
        ::alarm(secondsOfOneRun);
        runOne(mutated(options, run));
    }
    std::cout << options.runs << " runs over " << options.corpus.size() << " files\n";
}
