#pragma once

#include "Documents/Program.h"
#include "Text/Message.h"
#include "Text/SourceMap.h"

#include <memory>

namespace Qcf::Lists {
struct ListRecord;
class NamedLists;
} // namespace Qcf::Lists

/// Policy text: reading it into a program, with its lists and tests.
///
///     Sources sources;
///     Messages messages;
///     auto const policy = readPolicy("transit.qcf", sources, messages);
///     messages.print(sources, std::cerr);
///     if (policy) {
///         auto const import = policy->program().find("transit_import");
///     }
///
/// A program of a text is like that of a document: it can be evaluated, published and dumped.
/// Whatever is wrong with a text is a message with its place; several errors are told at a time.
/// Nothing from outside ends the process; time and memory are linear in the texts.
namespace Qcf::Text {

struct Declarations;

/// A policy text that was read without an error, with all that it imports.
class Policy {
public:
    Policy(Documents::Program program, SourceMap map, std::unique_ptr<Declarations> declarations);
    Policy(Policy &&) noexcept;
    Policy & operator=(Policy &&) noexcept;
    Policy(Policy const &) = delete;
    Policy & operator=(Policy const &) = delete;
    ~Policy();

    Documents::Program const & program() const { return program_; }
    Documents::Program & program() { return program_; }
    /// Where the program's nodes stand, and why verdicts decide as they do.
    SourceMap const & map() const { return map_; }
    /// The functions, lists and tests as they are declared.
    Declarations const & declarations() const { return *declarations_; }

    /// The lists that the texts declare, with their places there, made anew with each call; empty
    /// where there are none. The sources are those that it was read with.
    PtrConst<Lists::NamedLists> lists(Sources const & sources) const;
    /// The same as records, for who writes them.
    std::vector<Lists::ListRecord> listRecords() const;

private:
    Documents::Program program_;
    SourceMap map_;
    std::unique_ptr<Declarations> declarations_;
};

/// Reads a policy text and what it imports. `path` is that of a file, `-` standard input. Nothing
/// is answered where there are errors; a file that cannot be read is a DocumentError, whose imports
/// are messages.
std::optional<Policy> readPolicy(String const & path, Sources & sources, Messages & messages);
/// The same of a text that was read before; `name` is what messages call it, and what its imports
/// are relative to.
std::optional<Policy> readPolicyText(String text, String const & name, Sources & sources,
                                     Messages & messages);

/// Whether the text is a document or another JSON text: it begins with `{`, which no policy text
/// does.
bool isJson(std::string_view text);

} // namespace Qcf::Text
