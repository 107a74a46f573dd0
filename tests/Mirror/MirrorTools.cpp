#include "tests/Mirror/MirrorTools.h"

#include <algorithm>

namespace Qcf::Mirror::test {

namespace {

String assign(char const * attribute, U64 value) {
    return String(R"({"class": "IntAssign", "lhs": ")") + attribute + R"(", "rhs": )" +
           std::to_string(value) + "}, ";
}

String functionText(TestFunction const & function) {
    String text = R"({"name": ")" + function.name + R"(", "body": {"class": "Block", "stmts": [)";
    if (!function.calls.empty()) {
        text += R"({"class": "FunctionCallExpression", "calleeName": ")" + function.calls + "\"}, ";
    }
    return text + assign("med", function.value) + assign("local_preference", function.value) +
           R"({"class": "ReturnExpression", "expr": true}]}})";
}

} // namespace

String policyText(std::vector<TestFunction> const & functions) {
    String text = R"({"qcf": "aet/1", "functions": [)";
    for (TestFunction const & function : functions) {
        text += (&function == functions.data() ? "" : ", ") + functionText(function);
    }
    return text + "]}";
}

Documents::Program policy(std::vector<TestFunction> const & functions) {
    return Documents::readProgram(policyText(functions), "policy");
}

std::vector<TestFunction> alike(std::size_t count, U64 value) {
    std::vector<TestFunction> functions;
    for (std::size_t i = 0; i < count; ++i) {
        functions.push_back({"f" + std::to_string(i), value});
    }
    return functions;
}

String flatDocument(AllFunctionStatus const & status) {
    Documents::Program program;
    status.nodes().forEachNode(
        [&](Ptr<Eval::AetNodeBase> const & node) { program.nodes.push_back(node); });
    std::sort(program.nodes.begin(), program.nodes.end(),
              [](auto const & a, auto const & b) { return a->aetNodeKey() < b->aetNodeKey(); });
    for (auto const & [name, function] : status.aet()) {
        program.functions.push_back(ptrCast<Eval::Function const>(function));
    }
    String text;
    RendererV2 renderer(text);
    Documents::writeProgram(program, renderer);
    return text;
}

bool Lines::tell(std::string_view text) const {
    return std::any_of(lines.begin(), lines.end(),
                       [&](String const & line) { return line.find(text) != String::npos; });
}

String Lines::all() const {
    String text;
    for (String const & line : lines) {
        text += line + "\n";
    }
    return text;
}

} // namespace Qcf::Mirror::test
