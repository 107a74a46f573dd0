#include "Command/WatchView.h"

#include "Command/Output.h"
#include "Live/TopDeciding.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>
#include <array>
#include <ctime>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using namespace Qcf::Live; // NOLINT(google-build-using-namespace): what this command is about

constexpr std::size_t mostNotes = 8;

/// "12:04:31", as clocks around here show it.
String timeOfDay() {
    std::time_t const now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%S", &parts)};
}

struct ScreenSize {
    std::size_t rows = 24;
    std::size_t columns = 80;
};
ScreenSize screenSize() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        return {};
    }
    return {size.ws_row, size.ws_col};
}

/// The first characters of a line; a character may have several bytes.
std::string_view cut(std::string_view line, std::size_t most) {
    std::size_t end = 0;
    for (; end < line.size() && most > 0; --most) {
        end += std::max<std::size_t>(1, utf8SequenceLength(line.substr(end)));
    }
    return line.substr(0, end);
}

/// As much of the lines as the screen has room for, each over what stood there. What is cut off is
/// at the right and below.
String onScreen(std::string_view text, ScreenSize size) {
    String out = "\x1b[H";
    for (std::size_t row = 1; row < size.rows && !text.empty(); ++row) {
        auto const end = std::min(text.find('\n'), text.size());
        out += String(cut(text.substr(0, end), size.columns)) + "\x1b[K\n";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out + "\x1b[J";
}

} // namespace

WatchView::WatchView(RouterSet & routers, RunningComparison const & comparison, String policy)
    : routers_(routers),
      comparison_(comparison),
      policy_(std::move(policy)),
      isScreen_(isScreen()),
      next_(Clock::now() + (isScreen_ ? std::chrono::seconds(0) : std::chrono::seconds(60))) {}

bool WatchView::isScreen() { return ::isatty(STDOUT_FILENO) == 1; }

void WatchView::note(String const & line) {
    notes_.push_back(timeOfDay() + "  " + line);
    if (notes_.size() > mostNotes) {
        notes_.pop_front();
    }
    next_ = Clock::now();
}

void WatchView::show() {
    if (Clock::now() < next_) {
        return;
    }
    next_ = Clock::now() + (isScreen_ ? std::chrono::seconds(1) : std::chrono::seconds(60));
    if (isScreen_) {
        draw();
    } else {
        standardOutput().write(line());
    }
}

void WatchView::draw() {
    String text =
        "policy " + policy_ + ' ' + routers_.policy().digest + "  " + timeOfDay() + "\n\n";
    text += Board::shown(routers_, comparison_).tables();
    text +=
        "top deciding   " + topDecidingLine(routers_.policy(), routers_.counts().decided) + "\n\n";
    for (String const & note : notes_) {
        text += note + '\n';
    }
    standardOutput().write(onScreen(visibleLines(text), screenSize()));
}

String WatchView::line() const {
    Board const board = Board::shown(routers_, comparison_);
    ComparisonCounts const & counts = board.total();
    auto const number = [](char const * name, U64 of) {
        return String("  ") + name + ' ' + std::to_string(of);
    };
    return timeOfDay() + number("routers", routers_.all().size()) +
           number("peers", board.rows().size()) + number("routes", routers_.routes()) +
           number("compared", counts.compared()) + " of " + std::to_string(counts.all()) +
           number("equal", counts.of(CompareKind::equal)) + number("differing", counts.failures()) +
           number("doubtful", counts.of(CompareKind::doubtful)) + '\n';
}

void WatchView::close() { standardOutput().write("\x1b[H\x1b[J"); }
