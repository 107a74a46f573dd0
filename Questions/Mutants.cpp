#include "Questions/Mutants.h"

#include "Lists/ListRecord.h"
#include "Text/Policy.h"
#include "Watch/TestRun.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

namespace Qcf::Questions {

namespace {

enum class Fate : U8 { wrong, killed, survived };

bool passes(Watch::TestRun & tests, MutantOptions const & options) {
    for (std::size_t i = 0; i < tests.size(); ++i) {
        bool const isRun = !options.isRun || options.isRun(tests.title(i));
        if (isRun && !tests.run(i).passed()) {
            return false;
        }
    }
    return true;
}

Fate fateOf(String text, String const & file, MutantOptions const & options) {
    Text::Sources sources;
    Text::Messages messages;
    auto const policy = Text::readPolicyText(std::move(text), file, sources, messages);
    if (!policy) {
        return Fate::wrong;
    }
    auto lists = policy->lists(sources);
    if (options.lists) {
        lists = Lists::mergeLists(*lists, *options.lists);
    }
    Watch::TestRun tests(policy->declarations(), sources, lists, messages);
    if (messages.hasErrors()) {
        return Fate::wrong;
    }
    return passes(tests, options) ? Fate::survived : Fate::killed;
}

/// Every so many of them, the first among them, where there are more than that.
std::vector<Mutant> chosen(std::vector<Mutant> all, U64 most) {
    if (all.size() <= most) {
        return all;
    }
    std::vector<Mutant> some;
    for (U64 i = 0; i < most; ++i) {
        some.push_back(std::move(all[i * all.size() / most]));
    }
    return some;
}

/// Calls `work(i)` for all numbers below `count`, each once, from that many threads. The first
/// exception ends it and is thrown here.
template <typename Work>
void inParallel(std::size_t count, U64 threads, Work const & work) {
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::exception_ptr fault;
    auto const run = [&] {
        try {
            for (std::size_t i = next++; i < count; i = next++) {
                work(i);
            }
        } catch (...) {
            std::lock_guard const lock(mutex);
            fault = fault ? fault : std::current_exception();
            next = count;
        }
    };
    std::vector<std::jthread> others;
    for (U64 i = 1; i < threads; ++i) {
        others.emplace_back(run);
    }
    run();
    others.clear();
    if (fault) {
        std::rethrow_exception(fault);
    }
}

Survivor survivorOf(Mutant const & mutant, Text::SourceText const & source) {
    auto const place = source.placeOf(mutant.at);
    String line(source.lineOf(mutant.at));
    line.erase(0, std::min(line.size(), line.find_first_not_of(" \t")));
    return {place.line, place.column, mutant.from, mutant.to, std::move(line)};
}

} // namespace

MutantResults runMutants(String const & text, String const & file, MutantOptions const & options) {
    Text::Sources sources;
    Text::Messages messages;
    auto const policy = Text::readPolicyText(text, file, sources, messages);
    U32 const main = policy ? policy->declarations().mainFile.value_or(0) : 0;
    auto const tree = policy ? Text::TokenTree::read(sources, main, messages) : std::nullopt;
    MutantResults results{file};
    if (!tree) {
        return results;
    }
    auto all = mutantsOf(*tree, policy->declarations());
    std::size_t const count = all.size();
    auto const mutants = chosen(std::move(all), options.most);
    results.leftOut = count - mutants.size();
    std::vector<Fate> fates(mutants.size());
    inParallel(mutants.size(), options.threads, [&](std::size_t i) {
        fates[i] = fateOf(mutated(sources[main].text(), mutants[i]), file, options);
    });
    for (std::size_t i = 0; i < mutants.size(); ++i) {
        results.wrong += fates[i] == Fate::wrong ? 1 : 0;
        results.killed += fates[i] == Fate::killed ? 1 : 0;
        if (fates[i] == Fate::survived) {
            results.survivors.push_back(survivorOf(mutants[i], sources[main]));
        }
    }
    return results;
}

} // namespace Qcf::Questions
