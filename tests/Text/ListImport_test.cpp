#include "Text/ListImport.h"
#include "tests/Text/ListTools.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

using namespace Qcf::Text; // NOLINT(google-build-using-namespace): what is under test

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A folder of files that a text beside them imports.
class ListImport : public testing::Test {
protected:
    void SetUp() override {
        auto const * const test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = std::filesystem::temp_directory_path() /
                  (String("qcf-import-") + test->name() + '-' + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    /// Imports a file of that content as `import "f.json" WHAT` does, and answers the lists as
    /// text, or what is told without the folder's name.
    String imported(String const & content, String const & what = {}) {
        std::ofstream(folder_ / "f.json") << content;
        Sources sources;
        Messages messages;
        U32 const file =
            sources.add((folder_ / "t.qcf").string(), "import \"f.json\" " + what + "\n");
        Cursor cursor(sources, file, messages);
        Token const first = cursor.take();
        ImportRequest request;
        request.path = unquoted(cursor.text(cursor.take()));
        try {
            request.as = readImportAs(cursor);
        } catch (Recovery const &) {
            return told(messages, sources);
        }
        request.span = cursor.since(first);
        auto const read = importFile(request, sources, messages);
        if (!read || !messages.all().empty()) {
            return told(messages, sources);
        }
        return read->isText ? "text: " + read->text : printed(*read);
    }

private:
    static String printed(ImportedFile const & file) {
        String text;
        for (ListDeclaration const & each : file.lists) {
            printList(text, each.list);
        }
        return text;
    }

    String told(Messages const & messages, Sources const & sources) const {
        String lines;
        for (Message const & message : messages.all()) {
            lines += lineOf(message, sources) + '\n';
        }
        String const prefix = folder_.string() + '/';
        for (auto at = lines.find(prefix); at != String::npos; at = lines.find(prefix)) {
            lines.erase(at, prefix.size());
        }
        return lines;
    }

    std::filesystem::path folder_;
};

constexpr char const * roas =
    R"({"roas": [{"prefix": "10.0.0.0/8", "maxLength": 24, "asn": "AS1"}]})";
constexpr char const * prefixes = R"({ "CUST": [
    { "prefix": "10.0.0.0\/8", "exact": false, "less-equal": 24 },
    { "prefix": "192.0.2.0\/24", "exact": true },
    { "prefix": "198.51.100.0\/23", "exact": false,
      "greater-equal": 24, "less-equal": 24 }
] })";
constexpr char const * numbers = "{\"ASL\": [\n  174,1299,3333\n]}";
constexpr char const * none = "{ \"CUST\": [\n] }";

} // namespace

TEST_F(ListImport, TellsByTheContentWhatAFileIs) {
    struct Case {
        char const * content;
        char const * as;
        char const * lists;
    };
    Case const cases[] = {
        {"function f() { return true }", "", "text: function f() { return true }"},
        {"", "", "text: "},
        {"\n {\"qcf\": \"lists/1\", \"tagSets\": {\"T\": [1], \"U\": []}}", "",
         "list tag_set T { 1 }\nlist tag_set U {}\n"},
        {roas, "as roa_table RPKI", "list roa_table RPKI { 10.0.0.0/8 max 24 AS1 }\n"},
        {prefixes, "",
         "list prefix_list CUST v4 {\n  permit 10.0.0.0/8 le 24\n  permit 192.0.2.0/24\n"
         "  permit 198.51.100.0/23 ge 24 le 24\n}\n"},
        {R"({"A": [{"prefix": "::/0", "exact": true}], "B": [{"prefix": "10.0.0.0/8"}]})", "",
         "list prefix_list A v6 { permit ::/0 }\nlist prefix_list B v4 { permit 10.0.0.0/8 }\n"},
        {R"({"A": [{"prefix": "::/0", "exact": true}]})", "as prefix_list \"x y\" v6",
         "list prefix_list \"x y\" v6 { permit ::/0 }\n"},
        {numbers, "as tag_set T", "list tag_set T { 174, 1299, 3333 }\n"},
        {numbers, "as as_path_list A", "list as_path_list A { permit ends { 174, 1299, 3333 } }\n"},
    };
    for (Case const & each : cases) {
        EXPECT_EQ(imported(each.content, each.as), each.lists);
    }
}

TEST_F(ListImport, TellsFaultsAtTheImport) {
    struct Case {
        char const * content;
        char const * as;
        char const * told;
    };
    Case const cases[] = {
        {none, "as prefix_list P v4", "warning: f.json:/CUST: the list is empty"},
        {none, "as tag_set T", "warning: f.json:/CUST: the list is empty"},
        {none, "",
         "error: f.json:/CUST: is empty, so that its family is not known: import it 'as "
         "prefix_list NAME v4' or 'v6'"},
        {none, "as prefix_list P",
         "error: f.json:/CUST: is empty, so that its family is not known: import it 'as "
         "prefix_list NAME v4' or 'v6'"},
        {numbers, "",
         "error: f.json:/ASL: holds AS numbers: import it 'as as_path_list NAME' or 'as tag_set "
         "NAME'"},
        {numbers, "as roa_table R",
         "error: f.json:/ASL: becomes a prefix_list, an as_path_list or a tag_set, nothing else"},
        {numbers, "as prefix_list P v4", "error: f.json:/ASL/0: wants object, found number 174"},
        {prefixes, "as prefix_list P v6",
         "error: f.json:/CUST/0/prefix: wants IPv6 prefix, found \"10.0.0.0/8\""},
        {prefixes, "as tag_set T",
         "error: f.json:/CUST/0: wants integer from 0 to 4294967295, found object"},
        {R"({"A": [{"prefix": "10.0.0.0/8", "exact": true, "less-equal": 9}]})", "",
         "error: f.json:/A/0: wants exact or a range of lengths, found both"},
        {R"({"A": [{"prefix": "10.0.0.0/8"}, {"prefix": "::/0"}]})", "",
         "error: f.json:/A/1/prefix: wants IPv4 prefix, found \"::/0\""},
        {R"({"A": [], "B": []})", "as tag_set T",
         "error: f.json:: wants one list for 'T', found 2"},
        {roas, "", "error: f.json: an export of ROAs is imported 'as roa_table NAME'"},
        {roas, "as tag_set T", "error: f.json: an export of ROAs is imported 'as roa_table NAME'"},
        {R"({"qcf": "lists/1"})", "as tag_set T",
         "error: f.json: a lists document names its lists itself; import it without 'as'"},
        {R"({"qcf": "lists/1", "tagSets": {"T": [-1]}})", "",
         "error: f.json:/tagSets/T/0: wants integer from 0 to 4294967295, found number -1"},
        {R"({"qcf": "aet/1"})", "", "error: f.json:/qcf: wants \"lists/1\", found \"aet/1\""},
        {"{", "", "error: f.json:1:2: syntax error: Missing a name for object member."},
        {"list x", "as tag_set T",
         "error: f.json: is a policy text, which names its lists itself; import it without 'as'"},
    };
    for (Case const & each : cases) {
        EXPECT_EQ(imported(each.content, each.as), String("t.qcf:1:1: ") + each.told + '\n');
    }
    EXPECT_EQ(imported("", "as tagset T"),
              "t.qcf:1:20: error: wants a kind of list, found 'tagset'; did you mean 'tag_set'?\n");
    EXPECT_EQ(imported("", "as tag_set T v4"),
              "t.qcf:1:30: error: only a prefix_list has a family\n");
}
