#include "tests/Command/CommandTools.h"

#include <gmock/gmock.h>

namespace Qcf::Command::test {
namespace {

using testing::HasSubstr;

constexpr char const * ragged = "function f(){return true}\n";
constexpr char const * laidOut = "function f() { return true }\n";
constexpr char const * broken = "function f() { return == }\n";

TEST(Fmt, LaysOutInPlaceAndGoesOnBehindWhatCannotBe) {
    Workshop const workshop;
    workshop.write("a.qcf", ragged);
    workshop.write("b.qcf", broken);
    workshop.write("c.qcf", ragged);
    Outcome const outcome = workshop.run({"fmt", "a.qcf", "b.qcf", "none.qcf", "c.qcf"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("b.qcf:1:23: error: '==' is nothing that a policy text has\n"
                                       "    function f() { return == }\n"
                                       "                          ^\n"));
    EXPECT_THAT(outcome.err, HasSubstr("none.qcf: wants a readable file"));
    EXPECT_EQ(workshop.read("a.qcf"), laidOut);
    EXPECT_EQ(workshop.read("b.qcf"), broken);
    EXPECT_EQ(workshop.read("c.qcf"), laidOut);
    EXPECT_EQ(workshop.run({"fmt", "a.qcf", "c.qcf"}).exitCode, 0);
}

TEST(Fmt, CheckNamesWhatWouldChangeAndWritesNothing) {
    Workshop const workshop;
    workshop.write("a.qcf", ragged);
    workshop.write("b.qcf", laidOut);
    workshop.write("c.qcf", String(laidOut) + "\n");
    Outcome const outcome = workshop.run({"fmt", "--check", "a.qcf", "b.qcf", "c.qcf"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "a.qcf\nc.qcf\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(workshop.read("a.qcf"), ragged);
    EXPECT_EQ(workshop.run({"fmt", "--check", "b.qcf"}).exitCode, 0);
    Outcome const input = workshop.run({"fmt", "-", "--check"}, ragged);
    EXPECT_EQ(input.exitCode, 1);
    EXPECT_EQ(input.out, "-\n");
}

TEST(Fmt, StandardInputGoesToStandardOutput) {
    Workshop const workshop;
    Outcome const outcome = workshop.run({"fmt", "-"}, ragged);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, laidOut);
    Outcome const wrong = workshop.run({"fmt", "-"}, broken);
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.out, "");
    EXPECT_THAT(wrong.err, HasSubstr("-:1:23: error: "));
    EXPECT_EQ(workshop.run({"fmt", "-", "-"}, ragged).exitCode, 2);
}

TEST(Fmt, AFileIsReplacedWholeAndStaysWhatItWas) {
    Workshop const workshop;
    workshop.write("a.qcf", ragged);
    Outcome const linked =
        workshop.shell("chmod 640 a.qcf; ln -s a.qcf link.qcf; cp a.qcf copy; ln a.qcf other; "
                       "$QCF fmt link.qcf && stat -c %a a.qcf && readlink link.qcf; cat other; ls");
    // Whoever holds the old file open, here by another name, goes on to see it whole.
    EXPECT_EQ(linked.out, String("640\na.qcf\n") + ragged +
                              "a.qcf\ncopy\nlink.qcf\nother\nstderr\nstdin\nstdout\n");
    EXPECT_EQ(workshop.read("a.qcf"), laidOut);
    // A disk that is full takes nothing away.
    Outcome const full = workshop.shell("(ulimit -f 0; trap '' XFSZ; $QCF fmt copy 2>&1) | cat");
    EXPECT_EQ(full.out, "copy: File too large\n");
    EXPECT_EQ(workshop.read("copy"), ragged);
    Outcome const after = workshop.shell("ls copy*");
    EXPECT_EQ(after.out, "copy\n");
    Outcome const pipe = workshop.shell("mkfifo p; cat copy > p & $QCF fmt p");
    EXPECT_EQ(pipe.exitCode, 1);
    EXPECT_THAT(pipe.err, HasSubstr("p: is no regular file"));
}

} // namespace
} // namespace Qcf::Command::test
