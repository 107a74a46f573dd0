#pragma once

#include "Platform/Framework/Types.h"

#include <filesystem>
#include <vector>

/// Runs the command as a user does.
namespace Qcf::Command::test {

struct Outcome {
    int exitCode = -1; ///< -1 when a signal ended it
    String out;
    String err;
};

/// A folder of its own for the files of a test, removed at the end. Commands run inside, so that
/// messages name files without a folder.
class Workshop {
public:
    Workshop();
    ~Workshop();
    Workshop(Workshop const &) = delete;
    Workshop & operator=(Workshop const &) = delete;

    void write(String const & file, String const & content) const;
    String read(String const & file) const;

    /// Runs `qcf` with these arguments and this on standard input. Standard output goes to `outTo`
    /// where that is given.
    Outcome run(std::vector<String> const & arguments, String const & input = {},
                String const & outTo = {}) const;

    /// Runs a line of the shell, where $QCF is the command.
    Outcome shell(String const & line) const;

private:
    Outcome start(std::vector<String> const & words, String const & outTo) const;

    std::filesystem::path folder_;
};

/// A document with functions given as JSON.
String document(String const & functions);
/// One function with these statements.
String function(String const & name, String const & statements);

/// The lines of a text, without their ends.
std::vector<String> linesOf(String const & text);

} // namespace Qcf::Command::test
