#pragma once

#include "Documents/Program.h"
#include "Mirror/FollowedStore.h"
#include "QcfLib/QcfEvalContext.h"

namespace Qcf::Mirror::test {

/// A function of a test policy: sets med and local_preference to one value, so that it shows when
/// they come from different versions; calls another function if `calls` names one.
struct TestFunction {
    String name;
    U64 value;
    String calls = {};
};

/// The document of such functions.
String policyText(std::vector<TestFunction> const & functions);
Documents::Program policy(std::vector<TestFunction> const & functions);
/// `count` functions f0, f1, ..., all with `value`.
std::vector<TestFunction> alike(std::size_t count, U64 value);

/// The functions as a table, and their digest, computed anew.
FunctionTable tableOf(AllFunctionStatus::Functions const & functions);
Digest digestOf(AllFunctionStatus::Functions const & functions);

/// The status as a flat document: nodes in key order, functions in name order.
String flatDocument(AllFunctionStatus const & status);

/// Where a copy of a status is not equal to its source: a field, a name or a node. Empty when it is
/// equal field by field, down to the keys of the nodes that others hold.
String difference(AllFunctionStatus const & source, AllFunctionStatus const & copy);

/// An agent that keeps what was written back.
class TestContext final : public Eval::EvalContext {
public:
    TestContext() : EvalContext(nullptr, nullptr, nullptr) {}

    void medIs(U64 value) override { med = value; }
    void localPrefIs(U64 value) override { localPref = value; }

    U64 med = 0;
    U64 localPref = 0;
};

/// Collects what is reported.
class Lines {
public:
    auto sink() {
        return [this](String const & line) { lines.push_back(line); };
    }
    /// Whether any line holds the text.
    bool tell(std::string_view text) const;
    String all() const;

    std::vector<String> lines;
};

} // namespace Qcf::Mirror::test
