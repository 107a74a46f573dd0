#include "Platform/Render/Utf8.h"
#include "Questions/Mutants.h"

#include <cstdio>

namespace Qcf::Questions {

namespace {

struct Sums {
    U64 killed = 0;
    U64 tried = 0;
    U64 leftOut = 0;
};

Sums sumsOf(std::vector<MutantResults> const & all) {
    Sums sums;
    for (MutantResults const & results : all) {
        sums.killed += results.killed;
        sums.tried += results.tried();
        sums.leftOut += results.leftOut;
    }
    return sums;
}

String survivorText(String const & file, Survivor const & survivor) {
    constexpr std::size_t longestLine = 100;
    String text = "  survived: " + file + ':' + std::to_string(survivor.line) + ':' +
                  std::to_string(survivor.column) + "  ";
    text +=
        survivor.to.empty() ? survivor.from + " left out" : survivor.from + " -> " + survivor.to;
    return text + "   " + oneLine(survivor.text, longestLine) + '\n';
}

} // namespace

F64 killedShare(std::vector<MutantResults> const & all) {
    Sums const sums = sumsOf(all);
    return sums.tried == 0 ? 0.0
                           : 100.0 * static_cast<F64>(sums.killed) / static_cast<F64>(sums.tried);
}

String mutantsText(std::vector<MutantResults> const & all) {
    Sums const sums = sumsOf(all);
    char share[16];
    std::snprintf(share, sizeof share, "%.1f", killedShare(all));
    if (sums.tried == 0) {
        return "no mutant was tried\n";
    }
    String text = "mutants " + std::to_string(sums.killed) + " of " + std::to_string(sums.tried) +
                  " killed (" + share + " %)";
    text += sums.leftOut == 0 ? "\n" : "; " + std::to_string(sums.leftOut) + " more not tried\n";
    for (MutantResults const & results : all) {
        for (Survivor const & survivor : results.survivors) {
            text += survivorText(results.file, survivor);
        }
    }
    return text;
}

void renderMutants(MutantResults const & results, RendererV2 & renderer) {
    auto const member = [&](char const * name, auto const & value) {
        renderer.key(name);
        renderer.value(value);
    };
    renderer.beginObject();
    member("file", results.file);
    renderer.key("mutants");
    renderer.beginObject();
    member("tried", results.tried());
    member("killed", results.killed);
    member("wrong", results.wrong);
    member("leftOut", results.leftOut);
    renderer.key("survived");
    renderer.beginArray();
    for (Survivor const & survivor : results.survivors) {
        renderer.beginObject();
        member("line", survivor.line);
        member("column", survivor.column);
        member("from", survivor.from);
        member("to", survivor.to);
        member("text", survivor.text);
        renderer.endObject();
    }
    renderer.endArray();
    renderer.endObject();
    renderer.endObject();
}

} // namespace Qcf::Questions
