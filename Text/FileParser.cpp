#include "Text/FileParser.h"

#include "Text/ConstantParser.h"
#include "Text/FunctionParser.h"
#include "Text/TestParser.h"
#include "Text/Words.h"

#include <algorithm>

namespace Qcf::Text {

namespace {

constexpr std::string_view declarationWords[] = {"import", "const", "list", "function", "test"};

/// The constants as lists see them: by their words.
class ListConstants final : public ConstantScope {
public:
    explicit ListConstants(Constants const & constants) : constants_(constants) {}

    std::span<String const> wordsOf(std::string_view name) const override {
        auto const found = constants_.find(name);
        if (found == constants_.end()) {
            return {};
        }
        Constant const & constant = found->second;
        if (constant.isFaulty) {
            throw Recovery{};
        }
        constant.isUsed = true;
        auto const [words, isNew] = words_.try_emplace(constant.name);
        if (isNew) {
            for (ConstantItem const & item : constant.items) {
                String const high = item.high ? ".." + toWord(*item.high) : "";
                words->second.push_back(toWord(item.low) + high);
            }
        }
        constants_.spliced += words->second.size();
        return words->second;
    }

    bool isExhausted() const override { return constants_.spliced > Constants::mostSpliced; }

    std::vector<std::string_view> names() const override {
        std::vector<std::string_view> all;
        for (auto const & [name, constant] : constants_) {
            all.push_back(name);
        }
        return all;
    }

private:
    Constants const & constants_;
    mutable std::map<String, std::vector<String>> words_;
};

} // namespace

FileParser::FileParser(Sources const & sources, U32 file, Messages & messages, Declarations & into,
                       OnImport onImport, bool withTests)
    : cursor_(sources, file, messages),
      into_(into),
      onImport_(std::move(onImport)),
      withTests_(withTests),
      declared_(sources[file].text()) {
    if (withTests) {
        into_.mainFile = file;
    }
}

void FileParser::parse() {
    while (!cursor_.atEnd() && !cursor_.messages().isFull()) {
        U32 const begin = cursor_.now().begin;
        try {
            declaration();
        } catch (Recovery const &) {
            if (cursor_.now().begin == begin) {
                cursor_.take();
            }
            skipDeclaration();
        }
    }
    bool const hasFunctions = std::ranges::any_of(
        into_.functions, [&](auto const & each) { return each.span.file == cursor_.file(); });
    if (withTests_ && hasFunctions && !cursor_.messages().hasErrors()) {
        warnUnused();
    }
}

void FileParser::declaration() {
    if (cursor_.is("function") || cursor_.is("@")) {
        function();
    } else if (cursor_.is("list")) {
        list();
    } else if (cursor_.is("const")) {
        constant();
    } else if (cursor_.is("import")) {
        import();
    } else if (cursor_.is("test")) {
        test();
    } else {
        failDeclaration();
    }
}

// What calls a function with errors is not told that there is none.
void FileParser::function() {
    FunctionDeclaration made;
    try {
        readFunction(cursor_, into_.tree, scope(), made);
    } catch (Recovery const &) {
        if (!made.name.empty()) {
            made.takesAnything = true;
            into_.functions.push_back(std::move(made));
        }
        throw;
    }
    into_.functions.push_back(std::move(made));
}

void FileParser::failDeclaration() {
    if (Slip const * const slip = findDeclarationSlip(cursor_.text())) {
        cursor_.fail(cursor_.here(), *slip);
    }
    if (cursor_.is("}")) {
        cursor_.fail(cursor_.here(), "brace", "'}' without its '{'");
    }
    cursor_.fail(cursor_.here(), "declaration",
                 "wants 'function', 'list', 'const', 'import' or 'test', found " + cursor_.found(),
                 nearest(cursor_.text(), declarationWords));
}

// To the next line that begins with a declaration, whatever braces say: they may be the fault.
void FileParser::skipDeclaration() {
    while (!cursor_.atEnd()) {
        bool const declares =
            cursor_.now().startsLine &&
            (std::ranges::any_of(declarationWords, [&](auto word) { return cursor_.is(word); }) ||
             cursor_.is("@"));
        if (declares) {
            return;
        }
        cursor_.take();
    }
}

void FileParser::import() {
    cursor_.take();
    Token const first = cursor_.now();
    if (!cursor_.isString()) {
        cursor_.failWanted("the file to import in quotes");
    }
    ImportRequest request;
    request.path = unquoted(cursor_.text(cursor_.take()));
    request.as = readImportAs(cursor_);
    request.span = cursor_.since(first);
    cursor_.accept(";");
    Constants const * const imported = onImport_(request);
    if (imported == nullptr) {
        return;
    }
    for (auto const & [name, constant] : *imported) {
        auto const [at, isNew] = constants_.emplace(name, constant);
        // Whether it is used there or here is the other text's business.
        at->second.isUsed = true;
        if (!isNew && (at->second.span.file != constant.span.file ||
                       at->second.span.begin != constant.span.begin)) {
            cursor_.fail(request.span, "duplicate",
                         "the constant '" + name + "' is declared here and at " +
                             cursor_.sources().placeText(at->second.span));
        }
    }
}

// Known for faulty where its value is: what uses it is right.
void FileParser::constant() {
    cursor_.take();
    Constant made;
    auto const keep = [&] {
        into_.constants.emplace_back(made.name, made.span);
        constants_.emplace(made.name, std::move(made));
    };
    try {
        readConstant(cursor_, constants_, made);
    } catch (Recovery const &) {
        if (!made.name.empty() && !constants_.contains(made.name)) {
            made.isFaulty = true;
            keep();
        }
        throw;
    }
    keep();
}

void FileParser::list() {
    String documentation = cursor_.takeDocumentation();
    cursor_.take();
    bool const isQuoted = cursor_.ahead().kind == TokenKind::string;
    std::string_view const name = cursor_.text(cursor_.ahead());
    if (auto made = readList(cursor_, ListConstants(constants_))) {
        made->documentation = std::move(documentation);
        into_.lists.push_back(std::move(*made));
    } else {
        into_.faultyLists.insert(isQuoted ? unquoted(name) : String(name));
        skipDeclaration();
    }
}

void FileParser::test() {
    cursor_.take();
    TestDeclaration made = readTest(cursor_, into_.tree, scope(), ListConstants(constants_));
    if (withTests_) {
        into_.tests.push_back(std::move(made));
    }
}

// A text without functions, or one that others import, has them for others.
void FileParser::warnUnused() {
    for (auto const & [name, constant] : constants_) {
        if (!constant.isUsed && constant.span.file == cursor_.file()) {
            cursor_.warn(constant.span, "unused", "the constant '" + name + "' is not used");
        }
    }
}

} // namespace Qcf::Text
