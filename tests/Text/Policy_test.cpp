#include "Lists/NamedLists.h"
#include "Platform/Render/ReadFile.h"
#include "Text/Declarations.h"
#include "Text/Formatter.h"
#include "Text/MapFile.h"
#include "Text/Policy.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace Qcf;       // NOLINT(google-build-using-namespace): what is under test
using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test
using testing::ElementsAre;

/// A policy with the texts that it was read from.
struct Read {
    Sources sources;
    Messages messages;
    std::optional<Policy> policy;

    explicit Read(String text) {
        policy = readPolicyText(std::move(text), "t.qcf", sources, messages);
    }
    std::vector<String> told() const {
        std::vector<String> lines;
        for (Message const & message : messages.all()) {
            lines.push_back(lineOf(message, sources));
        }
        return lines;
    }
};

String flat(Documents::Program const & program) {
    String text;
    RendererV2 renderer(text, RendererV2::Style::pretty);
    Documents::writeProgram(program, renderer);
    return text;
}

std::vector<String> functionNames(Policy const & policy) {
    std::vector<String> names;
    for (auto const & function : policy.program().functions) {
        names.push_back(function->funcName());
    }
    return names;
}

} // namespace

TEST(Policy, ExamplesAreTheirDocuments) {
    std::size_t twins = 0;
    for (auto const & entry : fs::directory_iterator(QCF_SOURCE_DIR "/examples")) {
        fs::path document = entry.path();
        document.replace_extension(".json");
        if (entry.path().extension() != ".qcf") {
            continue;
        }
        Sources sources;
        Messages messages;
        auto const policy = readPolicy(entry.path(), sources, messages);
        for (Message const & message : messages.all()) {
            ADD_FAILURE() << lineOf(message, sources);
        }
        if (policy && fs::exists(document)) {
            ++twins;
            EXPECT_EQ(flat(policy->program()), flat(Documents::readProgramFile(document)))
                << entry.path();
        }
    }
    EXPECT_EQ(twins, 7U);
}

TEST(Policy, RightTextsReadAndAreLaidOutToTheSame) {
    std::size_t texts = 0;
    for (auto const & entry : fs::directory_iterator(QCF_SOURCE_DIR "/tests/Text/right_texts")) {
        if (entry.path().extension() != ".qcf") {
            continue;
        }
        ++texts;
        Sources sources;
        Messages messages;
        auto const policy = readPolicy(entry.path(), sources, messages);
        for (Message const & message : messages.all()) {
            EXPECT_NE(message.severity, Severity::error) << lineOf(message, sources);
        }
        auto const laidOut = formatText(sources, 0, messages);
        ASSERT_TRUE(policy && laidOut) << entry.path();
        Sources laidOutSources;
        auto const again = readPolicyText(*laidOut, entry.path(), laidOutSources, messages);
        ASSERT_TRUE(again) << entry.path();
        EXPECT_EQ(flat(again->program()), flat(policy->program()));
    }
    EXPECT_GE(texts, 5U);
}

TEST(Policy, CalleesStandBeforeCallersAndBuiltInsFirst) {
    Read const read("function a() { c() b() return true }\n"
                    "function b() { set_next_hop_self() return true }\n"
                    "function c() { d() return b() }\n"
                    "function d() { return match_origin_as_validity(roa_table R, valid) }\n");
    // Statements in one line want a semicolon.
    EXPECT_FALSE(read.policy);
    Read const right("function a() { c(); b(); return true }\n"
                     "function b() { set_next_hop_self(); return true }\n"
                     "function c() { d(); return b() }\n"
                     "function d() { return match_origin_as_validity(roa_table R, valid) }\n");
    ASSERT_THAT(right.told(), ElementsAre());
    EXPECT_THAT(functionNames(*right.policy),
                ElementsAre("set_next_hop_self", "match_origin_as_validity", "d", "b", "c", "a"));
}

TEST(Policy, ConstantsAndReasonsAreToldToTheMapAlone) {
    Read const with(
        "const OWN = 65000:1\nconst BOTH = { OWN, 65000:2 }\n"
        "function f() {\n  if community has any { BOTH, 65000:3 } { exit false because own }\n"
        "  return true\n}\n");
    Read const without(
        "function f() {\n  if community has any { 65000:1, 65000:2, 65000:3 } { exit false }\n"
        "  return true\n}\n");
    ASSERT_TRUE(with.policy && without.policy);
    EXPECT_EQ(flat(with.policy->program()), flat(without.policy->program()));
    auto const & map = with.policy->map();
    std::vector<String> reasons;
    for (SourceMap::Entry const & entry : map.entries()) {
        if (!map.reasonOf(entry).empty()) {
            reasons.push_back(map.reasonOf(entry) + " at " + with.sources.placeText(entry.span));
        }
    }
    EXPECT_THAT(reasons, ElementsAre("own at t.qcf:4:44"));
}

TEST(Policy, AMapFileSaysWhatTheMapSays) {
    Read const read("function f() { return med is 5 and origin is igp }\n");
    ASSERT_TRUE(read.policy);
    String text;
    {
        RendererV2 renderer(text, RendererV2::Style::compact);
        writeMap(read.policy->map(), read.sources, renderer);
    }
    String const path = testing::TempDir() + "policy_test.map";
    std::ofstream(path) << text;
    PlaceMap const fromFile = PlaceMap::read(path);
    PlaceMap const direct = PlaceMap::of(read.policy->map(), read.sources);
    for (auto const & node : read.policy->program().nodes) {
        U64 const key = node->aetNodeKey();
        EXPECT_EQ(fromFile.text(key), direct.text(key));
        EXPECT_NE(direct.text(key), "") << key;
    }
    EXPECT_NO_THROW(fromFile.mustSuit(read.policy->program()));
    // That of another policy: it names what is not there, or lacks what is.
    Read const longer(
        "function g() { return true }\nfunction f() { return med is 5 and med is 6 }\n");
    EXPECT_THROW(fromFile.mustSuit(longer.policy->program()), DocumentError);
    EXPECT_THROW(
        PlaceMap::of(longer.policy->map(), longer.sources).mustSuit(read.policy->program()),
        DocumentError);
    std::ofstream(path) << R"({"qcf":"map/1","files":["a"],"nodes":{"1":[1,1,1,1,1,null]}})";
    EXPECT_THROW(PlaceMap::read(path), DocumentError);
}

TEST(Policy, ImportsAreReadOnceAndBringNoTests) {
    fs::path const folder = fs::path(testing::TempDir()) / "policy_imports";
    fs::create_directories(folder);
    std::ofstream(folder / "base.qcf")
        << "import \"main.qcf\"\nconst OWN = 65000:1\nlist tag_set T { 7 }\n"
           "function base() { return igp.tag matches T }\n"
           "test \"t\" base() { route { prefix 10.0.0.0/8 } expect reject }\n";
    std::ofstream(folder / "other.qcf")
        << "import \"base.qcf\"\nimport \"irr.json\"\nfunction other() { return base() }\n";
    std::ofstream(folder / "irr.json") << R"({"IRR": [{"prefix": "192.0.2.0/24", "exact": true}]})";
    std::ofstream(folder / "main.qcf")
        << "import \"other.qcf\" import \"base.qcf\" import \"irr.json\"\n"
           "function main() { community add { OWN }; return other() }\n"
           "test \"m\" main() { route { prefix 10.0.0.0/8 } expect reject }\n";
    Sources sources;
    Messages messages;
    auto const policy = readPolicy(folder / "main.qcf", sources, messages);
    for (Message const & message : messages.all()) {
        ADD_FAILURE() << lineOf(message, sources);
    }
    ASSERT_TRUE(policy);
    EXPECT_THAT(functionNames(*policy), ElementsAre("base", "other", "main"));
    EXPECT_EQ(policy->lists(sources)->prefixLists.size(), 1U);
    EXPECT_EQ(policy->declarations().tests.size(), 1U);
    EXPECT_EQ(policy->lists(sources)->tagSets.size(), 1U);
    fs::remove_all(folder);
}

TEST(Policy, BoundsHoldWithoutReadingOn) {
    String const deep(1000000, '{');
    String nots = "function f() { return ";
    for (int i = 0; i < 1000000; ++i) {
        nots += "not ";
    }
    for (String const & text : {"function f() " + deep, nots, "function f() { med = " + deep}) {
        Read const read(text);
        EXPECT_FALSE(read.policy);
        EXPECT_LE(read.messages.all().size(), 2U);
        EXPECT_THAT(read.told().front(), testing::HasSubstr("nested deeper than 512 levels"));
    }
}
