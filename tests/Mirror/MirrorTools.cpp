#include "tests/Mirror/MirrorTools.h"

#include "QcfLib/QcfAllAetEntities.h"

#include <algorithm>
#include <set>

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

FunctionTable tableOf(AllFunctionStatus::Functions const & functions) {
    FunctionDigests digests;
    std::vector<FunctionTable::Change> changes;
    for (auto const & [name, function] : functions) {
        auto const typed = ptrCast<Eval::Function const>(function);
        changes.push_back({name, NamedFunction{typed, digests.of(*typed)}});
    }
    return FunctionTable().with(std::move(changes));
}

Digest digestOf(AllFunctionStatus::Functions const & functions) {
    return tableOf(functions).summary().digest();
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

namespace {

using Node = Eval::AetNodeBase;

String nameOf(Node const & node) {
    return String(node.typeData().name) + " " + std::to_string(node.aetNodeKey());
}

std::vector<Node const *> childrenOf(Node const & node) {
    std::vector<Node const *> children;
    node.typeData().visitChildren(
        node, [&](Eval::FieldInfo const &, Node const * child) { children.push_back(child); });
    return children;
}

/// Trees, node by node, each pair once.
class TreeComparison {
public:
    TreeComparison(AllFunctionStatus const & source, AllFunctionStatus const & copy)
        : source_(source), copy_(copy) {}

    bool same(Node const & a, Node const & b) {
        if (!seen_.emplace(&a, &b).second) {
            return true;
        }
        auto const ours = childrenOf(a);
        auto const theirs = childrenOf(b);
        bool const alike = &a.typeData() == &b.typeData() && a.aetNodeKey() == b.aetNodeKey() &&
                           isMember(source_, a) == isMember(copy_, b) &&
                           a.compare(PtrConst<Node>(&b)) && ours.size() == theirs.size();
        return alike && std::equal(ours.begin(), ours.end(), theirs.begin(),
                                   [this](Node const * one, Node const * other) {
                                       return one == nullptr || other == nullptr
                                                  ? one == other
                                                  : same(*one, *other);
                                   });
    }

private:
    static bool isMember(AllFunctionStatus const & status, Node const & node) {
        return status.aetNodes() && status.nodes().holds(node);
    }

    AllFunctionStatus const & source_;
    AllFunctionStatus const & copy_;
    std::set<std::pair<Node const *, Node const *>> seen_;
};

String differingField(AllFunctionStatus const & source, AllFunctionStatus const & copy) {
    if (source.dedupedFunctionsPresent() != copy.dedupedFunctionsPresent()) {
        return "dedupedFunctionsPresent";
    }
    if (source.startOfDedupedFunctionUpdatesMarker() !=
        copy.startOfDedupedFunctionUpdatesMarker()) {
        return "start marker " + std::to_string(copy.startOfDedupedFunctionUpdatesMarker());
    }
    if (source.endOfDedupedFunctionUpdatesMarker() != copy.endOfDedupedFunctionUpdatesMarker()) {
        return "end marker " + std::to_string(copy.endOfDedupedFunctionUpdatesMarker());
    }
    return !source.aetNodes() == !copy.aetNodes() ? "" : "store";
}

} // namespace

String difference(AllFunctionStatus const & source, AllFunctionStatus const & copy) {
    String field = differingField(source, copy);
    TreeComparison trees(source, copy);
    if (field.empty() && source.aetNodes()) {
        if (source.nodes().size() != copy.nodes().size()) {
            field = "size of the store " + std::to_string(copy.nodes().size());
        }
        source.nodes().forEachNode([&](Ptr<Node> const & node) {
            auto const twin =
                copy.nodes().node(static_cast<U16>(node->typeData().number()), node->aetNodeKey());
            if (!twin || !trees.same(*node, *twin)) {
                field = nameOf(*node);
            }
        });
    }
    if (field.empty() && source.aet().size() != copy.aet().size()) {
        field = "number of functions " + std::to_string(copy.aet().size());
    }
    for (auto const & [name, function] : source.aet()) {
        auto const twin = copy.aet(std::string_view(name));
        if (field.empty() &&
            (!twin || !trees.same(*function, *twin) || function->funcName() != twin->funcName())) {
            field = "function " + name;
        }
    }
    return field;
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
