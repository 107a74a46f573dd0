#pragma once

#include "Text/Declarations.h"
#include "Text/ListImport.h"

#include <functional>

namespace Qcf::Text {

/// Reads the declarations of one text into those of all. What is wrong is told, and reading goes on
/// with the next statement, entry or declaration. Never throws Recovery.
///
///     FileParser parser(sources, file, messages, declarations, onImport);
///     parser.parse();
///
/// `onImport` is called for each import before what follows it is read; it may read further texts
/// into the same declarations, and answers the constants of a text that was imported.
class FileParser {
public:
    using OnImport = std::function<Constants const *(ImportRequest const & request)>;

    /// Tests are kept only where `withTests`: those of an imported text run when its own file is
    /// named. So is what is not used told of that text alone.
    FileParser(Sources const & sources, U32 file, Messages & messages, Declarations & into,
               OnImport onImport, bool withTests);

    /// The text from its beginning to its end.
    void parse();
    /// What the text declares, and what its imports did.
    Constants const & constants() const { return constants_; }

private:
    void declaration();
    void import();
    void constant();
    void function();
    void list();
    void test();
    void skipDeclaration();
    [[noreturn]] void failDeclaration();
    void warnUnused();
    TextScope scope() const { return {constants_, declared_}; }

    Cursor cursor_;
    Declarations & into_;
    OnImport onImport_;
    bool withTests_;
    Constants constants_;
    DeclaredNames declared_;
};

} // namespace Qcf::Text
