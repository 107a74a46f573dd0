// Writes the inputs that fuzzing starts from, made by this project's own code from the examples and
// from invented tables: a folder a target, and the words of documents as a dictionary.
//
//     fuzz_seeds FOLDER

#include "Agent/Mrt/MrtWriter.h"
#include "Agent/Routes/JsonLinesWriter.h"
#include "Agent/Tables/TableGenerator.h"
#include "Documents/Program.h"
#include "Lists/ListsDocument.h"
#include "Mirror/ChangeSource.h"
#include "Mirror/ProgramPublication.h"
#include "Mirror/StatusFunctions.h"
#include "Platform/Render/JsonDocument.h"
#include "Platform/Render/ReadFile.h"
#include "QcfLib/NodeClass.h"
#include "Text/Printer.h"
#include "Text/Words.h"
#include "fuzz/RecordingSeeds.h"
#include "tests/support/RandomDocument.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

void writeFile(fs::path const & path, String const & text) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error(path.string() + ": cannot be written");
    }
}

/// A JSON text without the blanks between its tokens: inputs are the better the smaller they are.
String packed(String const & json) {
    String text;
    bool inString = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        bool const isBlank = String(" \n\t\r").find(json[i]) != String::npos;
        if (inString || !isBlank) {
            text += json[i];
        }
        if (inString && json[i] == '\\') {
            text += json[++i];
        } else if (json[i] == '"') {
            inString = !inString;
        }
    }
    return text;
}

/// What publishes one version after another, as text.
class Publications {
public:
    void publish(String const & document, Qcf::Mirror::PublishedLists const & lists = {}) {
        using namespace Qcf::Mirror; // NOLINT(google-build-using-namespace): what is under test
        auto const program = Qcf::Documents::readProgram(document, "seed");
        publishProgram(program, *status_, functions_.digests(), ++version_);
        String const id = "v" + std::to_string(version_);
        Batch const batch = source_.takeBatch(
            {version_, id, base_}, versionDigest(functions_.table().summary().digest(), lists),
            {lists_, lists});
        for (String const & piece : batch.pieces) {
            text_ += piece;
        }
        base_ = id;
        lists_ = lists;
    }
    String const & text() const { return text_; }

private:
    Ptr<Qcf::AllFunctionStatus> status_ = Qcf::allFunctionStatusFactory("fuzz");
    Qcf::Mirror::StatusFunctions functions_{status_};
    Qcf::Mirror::ChangeSource source_{status_};
    Qcf::Mirror::PublishedLists lists_;
    String text_;
    String base_;
    U32 version_ = 0;
};

/// The batches that publish one document after another.
String batches(std::vector<String> const & documents) {
    Publications publications;
    for (String const & document : documents) {
        publications.publish(document);
    }
    return publications.text();
}

/// The batches by which lists come, one of them goes, and all go.
String listBatches(String const & name, String const & text) {
    String const functions = R"({"qcf": "aet/1", "functions": []})";
    auto records = Qcf::Lists::readListRecords(JsonDocument::parse(text, name).root(), name);
    Publications publications;
    publications.publish(functions, Qcf::Mirror::publishedLists(records, {}));
    records.erase(records.begin());
    publications.publish(functions, Qcf::Mirror::publishedLists(records, {}));
    publications.publish(functions);
    return publications.text();
}

class Seeds {
public:
    explicit Seeds(fs::path folder) : folder_(std::move(folder)) {}

    void write() const {
        examples();
        texts();
        randomDocuments();
        tables();
        writeRecordingSeeds(
            [this](String const & target, String const & name, String const & text) {
                writeFile(folder_ / target / name, text);
            });
        dictionary();
    }

private:
    void document(String const & name, String const & text) const {
        writeFile(folder_ / "FuzzDocument" / name, text);
        writeFile(folder_ / "FuzzEvaluation" / name, text);
    }

    /// The policies, lists and routes of examples/; the policies, published one after the other,
    /// too.
    void examples() const {
        std::vector<String> policies;
        for (auto const & entry : fs::directory_iterator(QCF_SOURCE_DIR "/examples")) {
            String const name = entry.path().filename();
            if (name.ends_with(".routes.jsonl")) {
                writeFile(folder_ / "FuzzJsonLines" / name, readFile(entry.path()));
            } else if (name.ends_with(".lists.json")) {
                String const text = readFile(entry.path());
                writeFile(folder_ / "FuzzLists" / name, packed(text));
                writeFile(folder_ / "FuzzMirror" / name, listBatches(name, text));
            } else if (name.ends_with(".json")) {
                policies.push_back(packed(readFile(entry.path())));
                document(name, policies.back());
                writeFile(folder_ / "FuzzMirror" / name, batches({policies.back()}));
            }
        }
    }

    /// Policies as text: whole ones, the functions of small documents, and what is wrong.
    void texts() const {
        for (char const * const folder : {"/examples", "/tests/Text/right_texts"}) {
            for (auto const & entry : fs::directory_iterator(QCF_SOURCE_DIR + String(folder))) {
                if (entry.path().extension() == ".qcf") {
                    writeFile(folder_ / "FuzzText" / entry.path().filename(),
                              readFile(entry.path()));
                }
            }
        }
        constexpr U32 count = 60;
        for (U32 seed = 0; seed < count; ++seed) {
            Qcf::test::RandomDocument::Options const options{.calls = seed % 3 != 2,
                                                             .depth = 1 + seed % 3};
            auto const program = Qcf::Documents::readProgram(
                Qcf::test::RandomDocument(seed, options).functions(1), "seed");
            writeFile(folder_ / "FuzzText" / ("random" + std::to_string(seed)),
                      Qcf::Text::printPolicy(program));
        }
        std::istringstream rows(readFile(QCF_SOURCE_DIR "/tests/Text/wrong_texts.txt"));
        String text;
        U32 number = 0;
        for (String line; std::getline(rows, line);) {
            if (line.starts_with("--- ") || line.starts_with("=> ")) {
                if (!text.empty()) {
                    writeFile(folder_ / "FuzzText" / ("wrong" + std::to_string(number++)), text);
                }
                text.clear();
            } else {
                text += line + '\n';
            }
        }
    }

    /// Small documents of all kinds of nodes, alone and each published after the one before it.
    void randomDocuments() const {
        constexpr U32 count = 60;
        String before;
        for (U32 seed = 0; seed < count; ++seed) {
            Qcf::test::RandomDocument::Options const options{
                .references = seed % 4 == 3, .calls = seed % 3 != 2, .depth = 1 + seed % 3};
            String const name = "random" + std::to_string(seed) + ".json";
            String const text =
                packed(Qcf::test::RandomDocument(seed, options).functions(1 + seed % 2));
            document(name, text);
            if (!before.empty()) {
                writeFile(folder_ / "FuzzMirror" / name, batches({before, text}));
            }
            before = text;
        }
    }

    /// Small tables of invented routes.
    void tables() const {
        for (U32 const routes : {1U, 3U, 10U}) {
            Qcf::Agent::TableGenerator generator(routes, routes);
            std::ostringstream mrt;
            String lines;
            Qcf::Agent::MrtWriter writer(mrt, generator.peers(), Qcf::Agent::TableGenerator::time);
            Qcf::Agent::JsonLinesWriter lineWriter(lines);
            for (Qcf::Agent::Route route; generator.next(route);) {
                writer.add(route);
                lineWriter.add(route);
            }
            writer.finish();
            writeFile(folder_ / "FuzzMrt" / std::to_string(routes), mrt.str());
            writeFile(folder_ / "FuzzJsonLines" / std::to_string(routes), lines);
        }
    }

    /// Names of classes and of their fields, words of policy text.
    void dictionary() const {
        std::set<String> words;
        for (auto const & nodeClass : Qcf::Eval::nodeClasses()) {
            words.insert(nodeClass.name);
            words.emplace(nodeClass.facts.words);
            for (auto const & field : nodeClass.fields) {
                words.insert(field.name);
            }
        }
        for (auto const more : {Qcf::Text::keywords(), Qcf::Text::listWords()}) {
            words.insert(more.begin(), more.end());
        }
        // Most classes have no word.
        words.erase("");
        String text;
        for (String const & word : words) {
            text += "\"" + word + "\"\n";
        }
        writeFile(folder_ / "words.dict", text);
    }

    fs::path folder_;
};

} // namespace

int main(int argc, char ** argv) {
    if (argc != 2) {
        std::cerr << "usage: fuzz_seeds FOLDER\n";
        return 2;
    }
    try {
        Seeds(argv[1]).write();
    } catch (std::exception const & error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
