#include "Text/Policy.h"

#include "Lists/ListRecord.h"
#include "Platform/Render/ReadFile.h"
#include "Text/Compiler.h"
#include "Text/FileParser.h"

#include <filesystem>
#include <map>
#include <set>

namespace Qcf::Text {

namespace {

/// Reads texts and what they import, each file once.
class PolicyReader {
public:
    PolicyReader(Sources & sources, Messages & messages, Declarations & into)
        : sources_(sources), messages_(messages), into_(into) {}

    /// Answers the constants that stand in the text; null where it cannot be read.
    Constants const * read(String text, String const & name, bool withTests) {
        U32 const file = sources_.add(name, std::move(text));
        // Known from here on, so that a circle of imports ends.
        constants_.try_emplace(identity(name));
        FileParser parser(
            sources_, file, messages_, into_,
            [this](ImportRequest const & request) { return import(request); }, withTests);
        parser.parse();
        return &(constants_[identity(name)] = parser.constants());
    }

private:
    /// One file has one, by whatever path it is reached.
    static String identity(String const & path) {
        std::error_code error;
        auto const whole = std::filesystem::weakly_canonical(path, error);
        return error ? path : whole.string();
    }

    Constants const * import(ImportRequest const & request) {
        auto imported = importFile(request, sources_, messages_);
        if (!imported) {
            return nullptr;
        }
        if (!imported->isText) {
            addLists(request, *imported);
            return nullptr;
        }
        auto const [known, isNew] = constants_.try_emplace(identity(imported->path));
        return isNew ? read(std::move(imported->text), imported->path, false) : &known->second;
    }

    // Several texts may want the lists of one file, each for itself.
    void addLists(ImportRequest const & request, ImportedFile & imported) {
        String const as =
            request.as ? std::to_string(static_cast<int>(request.as->kind)) + ' ' + request.as->name
                       : String();
        if (!lists_.emplace(identity(imported.path), as).second) {
            return;
        }
        for (ListDeclaration & list : imported.lists) {
            into_.lists.push_back(std::move(list));
        }
    }

    Sources & sources_;
    Messages & messages_;
    Declarations & into_;
    /// Files of lists that were read, and as what.
    std::set<std::pair<String, String>> lists_;
    /// By the identities of the files.
    std::map<String, Constants> constants_;
};

} // namespace

Policy::Policy(Documents::Program program, SourceMap map,
               std::unique_ptr<Declarations> declarations)
    : program_(std::move(program)), map_(std::move(map)), declarations_(std::move(declarations)) {}
Policy::Policy(Policy &&) noexcept = default;
Policy & Policy::operator=(Policy &&) noexcept = default;
Policy::~Policy() = default;

PtrConst<Lists::NamedLists> Policy::lists(Sources const & sources) const {
    auto lists = makePtr<Lists::NamedLists>();
    for (ListDeclaration const & declaration : declarations_->lists) {
        lists->places.emplace(std::pair(declaration.kind(), declaration.name()),
                              sources.placeText(declaration.nameSpan));
        Lists::addList(*lists, declaration.list);
    }
    return lists;
}

std::vector<Lists::ListRecord> Policy::listRecords() const {
    std::vector<Lists::ListRecord> records;
    for (ListDeclaration const & declaration : declarations_->lists) {
        records.push_back(declaration.list);
    }
    return records;
}

std::optional<Policy> readPolicyText(String text, String const & name, Sources & sources,
                                     Messages & messages) {
    auto declarations = std::make_unique<Declarations>();
    PolicyReader(sources, messages, *declarations).read(std::move(text), name, true);
    // What is wrong between functions is told even where a body has errors.
    resolve(*declarations, sources, messages);
    if (messages.hasErrors()) {
        return std::nullopt;
    }
    SourceMap map;
    Documents::Program program = makeProgram(declarations->functions, sources, messages, map);
    if (messages.hasErrors()) {
        return std::nullopt;
    }
    return Policy(std::move(program), std::move(map), std::move(declarations));
}

std::optional<Policy> readPolicy(String const & path, Sources & sources, Messages & messages) {
    return readPolicyText(readFile(path), path, sources, messages);
}

bool isJson(std::string_view text) {
    std::size_t const first = text.find_first_not_of(" \t\r\n\xef\xbb\xbf");
    return first != std::string_view::npos && text[first] == '{';
}

} // namespace Qcf::Text
