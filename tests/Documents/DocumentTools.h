#pragma once

#include "Documents/Program.h"

#include <algorithm>

/// Short ways to read and write documents in tests.
namespace Qcf::Documents::test {

/// A document of one function "f" with these statements and these entries of `nodes`.
inline String documentOf(String const & statements, String const & nodes = "") {
    return R"({"qcf":"aet/1","nodes":[)" + nodes +
           R"(],"functions":[{"name":"f","body":{"class":"Block","stmts":[)" + statements + "]}}]}";
}

inline Program read(String const & text) { return readProgram(text, "f.json"); }

/// What reading fails with; "" when it does not.
inline String errorOf(String const & text) {
    try {
        read(text);
    } catch (DocumentError const & error) {
        return error.what();
    }
    return "";
}

inline String written(Program const & program) {
    String text;
    RendererV2 renderer(text);
    writeProgram(program, renderer);
    return text;
}

/// Class names in the order of keys, "Med IntImmediate ...", each with its key.
inline String keysOf(Program const & program) {
    std::vector<Eval::AetNodeBase const *> nodes;
    for (auto const & node : program.nodes) {
        nodes.push_back(node.get());
    }
    std::sort(nodes.begin(), nodes.end(),
              [](auto * a, auto * b) { return a->aetNodeKey() < b->aetNodeKey(); });
    String text;
    for (auto const * node : nodes) {
        text += (text.empty() ? "" : " ") + std::to_string(node->aetNodeKey()) + ":" +
                node->typeData().name;
    }
    return text;
}

/// How many nodes of a class the program has.
inline std::size_t countOf(Program const & program, std::string_view className) {
    return static_cast<std::size_t>(
        std::count_if(program.nodes.begin(), program.nodes.end(),
                      [&](auto const & node) { return node->typeData().name == className; }));
}

} // namespace Qcf::Documents::test
