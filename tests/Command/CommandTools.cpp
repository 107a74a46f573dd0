#include "tests/Command/CommandTools.h"

#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Qcf::Command::test {

Workshop::Workshop() {
    String pattern = (std::filesystem::temp_directory_path() / "qcf-test-XXXXXX").string();
    char const * const made = ::mkdtemp(pattern.data());
    EXPECT_NE(made, nullptr);
    folder_ = pattern;
}

Workshop::~Workshop() { std::filesystem::remove_all(folder_); }

void Workshop::write(String const & file, String const & content) const {
    std::ofstream(folder_ / file, std::ios::binary) << content;
}

String Workshop::read(String const & file) const {
    std::ifstream stream(folder_ / file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

Outcome Workshop::run(std::vector<String> const & arguments, String const & input,
                      String const & outTo) const {
    std::vector<String> words{QCF_BINARY};
    words.insert(words.end(), arguments.begin(), arguments.end());
    write("stdin", input);
    return start(words, outTo);
}

Outcome Workshop::shell(String const & line) const {
    write("stdin", "");
    return start({"/bin/bash", "-c", "QCF='" QCF_BINARY "'; " + line}, {});
}

Outcome Workshop::start(std::vector<String> const & words, String const & outTo) const {
    std::vector<char *> argv;
    for (String const & word : words) {
        argv.push_back(const_cast<char *>(word.c_str()));
    }
    argv.push_back(nullptr);
    String const out = outTo.empty() ? String("stdout") : outTo;
    pid_t const child = ::fork();
    if (child == 0) {
        // The standard descriptors are opened in the order of their numbers.
        bool const ready = ::chdir(folder_.c_str()) == 0 && ::close(0) == 0 && ::close(1) == 0 &&
                           ::close(2) == 0 && ::open("stdin", O_RDONLY) == 0 &&
                           ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600) == 1 &&
                           ::open("stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600) == 2;
        if (ready) {
            ::execv(argv[0], argv.data());
        }
        ::_exit(127);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    int const exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return {exitCode, outTo.empty() ? read("stdout") : String(), read("stderr")};
}

String document(String const & functions) {
    return R"({"qcf": "aet/1", "functions": [)" + functions + "]}";
}

String function(String const & name, String const & statements) {
    return R"({"name": ")" + name + R"(", "body": {"class": "Block", "stmts": [)" + statements +
           "]}}";
}

std::vector<String> linesOf(String const & text) {
    std::vector<String> lines;
    std::istringstream stream(text);
    for (String line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace Qcf::Command::test
