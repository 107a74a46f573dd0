#include "Text/FileParser.h"

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
        constant.isUsed = true;
        auto const [words, isNew] = words_.try_emplace(constant.name);
        if (isNew) {
            for (ConstantItem const & item : constant.items) {
                String const high = item.high ? ".." + toWord(*item.high) : "";
                words->second.push_back(toWord(item.low) + high);
            }
        }
        return words->second;
    }

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
      withTests_(withTests) {}

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
    if (!cursor_.messages().hasErrors()) {
        warnUnused();
    }
}

void FileParser::declaration() {
    if (cursor_.is("function") || cursor_.is("@")) {
        into_.functions.push_back(readFunction(cursor_, into_.tree, constants_));
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

void FileParser::failDeclaration() {
    struct Slip {
        std::string_view word;
        char const * text;
        char const * ours;
    };
    static constexpr Slip slips[] = {
        {"filter", "a filter is a function: 'function NAME() { ... }'", "function"},
        {"policy", "a policy is a function: 'function NAME() { ... }'", "function"},
        {"def", "a function begins with 'function'", "function"},
        {"define", "a value with a name is 'const NAME = ...'", "const"},
        {"include", "another file is read by 'import \"FILE\"'", "import"},
        {"prefix_list", "a list begins with 'list'", "list prefix_list"},
        {"community_list", "a list begins with 'list'", "list community_list"},
        {"as_path_list", "a list begins with 'list'", "list as_path_list"},
    };
    for (Slip const & slip : slips) {
        if (cursor_.is(slip.word)) {
            cursor_.fail(cursor_.here(), "declaration", slip.text, slip.ours);
        }
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
    Token const first = cursor_.take();
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

void FileParser::constant() {
    cursor_.take();
    Token const nameToken = cursor_.now();
    if (!cursor_.isWord() || !isPlainName(cursor_.text())) {
        bool const isKnown = cursor_.isWord() && hasNameShape(cursor_.text());
        if (isKnown) {
            cursor_.fail(cursor_.here(), "name",
                         cursor_.found() + " means something in this language; a constant wants "
                                           "another name");
        }
        cursor_.failWanted("the name of a constant");
    }
    Constant made;
    made.name = String(cursor_.text(cursor_.take()));
    made.span = cursor_.spanOf(nameToken);
    auto const before = constants_.find(made.name);
    if (before != constants_.end()) {
        cursor_.fail(made.span, "duplicate",
                     "the constant '" + made.name + "' is declared twice, first at " +
                         cursor_.sources().placeText(before->second.span));
    }
    cursor_.expect("=", "behind the constant's name");
    made.isSet = cursor_.is("{");
    if (made.isSet) {
        cursor_.take();
        constantItems(made);
    } else {
        made.items.push_back({literal()});
    }
    if (!cursor_.accept(";") && !cursor_.now().startsLine && !cursor_.atEnd()) {
        cursor_.failWanted("';' or a new line behind the constant");
    }
    constants_.emplace(made.name, std::move(made));
}

void FileParser::constantItems(Constant & constant) {
    while (!cursor_.is("}")) {
        auto const inner = cursor_.isWord() ? constants_.find(cursor_.text()) : constants_.end();
        if (inner != constants_.end() && inner->second.isSet) {
            inner->second.isUsed = true;
            auto const & items = inner->second.items;
            constant.items.insert(constant.items.end(), items.begin(), items.end());
            cursor_.take();
        } else {
            ConstantItem item{literal()};
            if (cursor_.accept("..")) {
                item.high = literal();
            }
            constant.items.push_back(std::move(item));
        }
        if (!cursor_.accept(",") && !cursor_.is("}")) {
            cursor_.failWanted("',' or '}'");
        }
    }
    cursor_.take();
}

// A literal, or a constant above that is one.
Literal FileParser::literal() {
    auto const known = cursor_.isWord() ? constants_.find(cursor_.text()) : constants_.end();
    if (known != constants_.end() && !known->second.isSet) {
        known->second.isUsed = true;
        cursor_.take();
        return known->second.items.front().low;
    }
    auto const found = cursor_.isWord() ? parseLiteral(cursor_.text()) : std::nullopt;
    if (!found) {
        if (cursor_.isWord()) {
            if (String const why = whyNoLiteral(cursor_.text()); !why.empty()) {
                cursor_.fail(cursor_.here(), "literal", cursor_.found() + ": " + why);
            }
        }
        cursor_.failWanted("a literal, or a set of them in braces");
    }
    cursor_.take();
    return *found;
}

void FileParser::list() {
    String documentation = cursor_.takeDocumentation();
    cursor_.take();
    if (auto made = readList(cursor_, ListConstants(constants_))) {
        made->documentation = std::move(documentation);
        into_.lists.push_back(std::move(*made));
    } else {
        skipDeclaration();
    }
}

void FileParser::test() {
    cursor_.take();
    TestDeclaration made = readTest(cursor_, into_.tree, constants_, ListConstants(constants_));
    if (withTests_) {
        into_.tests.push_back(std::move(made));
    }
}

void FileParser::warnUnused() {
    for (auto const & [name, constant] : constants_) {
        if (!constant.isUsed && constant.span.file == cursor_.file()) {
            cursor_.warn(constant.span, "unused", "the constant '" + name + "' is not used");
        }
    }
}

} // namespace Qcf::Text
