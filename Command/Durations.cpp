#include "Command/Durations.h"

#include "Platform/Render/Utf8.h"
#include "Platform/Routing/TextPieces.h"

#include <array>

namespace {

using std::chrono::milliseconds;

struct Unit {
    std::string_view name;
    milliseconds length;
};
// No unit ends as one before it does.
constexpr std::array units = {Unit{"ms", milliseconds(1)}, Unit{"s", std::chrono::seconds(1)},
                              Unit{"m", std::chrono::minutes(1)}, Unit{"h", std::chrono::hours(1)}};
/// Longer than anybody waits, and short enough to be added to a time.
constexpr milliseconds longest = std::chrono::hours(24 * 365);

std::optional<milliseconds> parse(std::string_view text) {
    for (Unit const & unit : units) {
        if (text.ends_with(unit.name)) {
            text.remove_suffix(unit.name.size());
            auto const most = static_cast<U64>(longest / unit.length);
            auto const number = Routing::TextPieces::parseDecimal(text, most);
            return number ? std::optional(static_cast<S64>(*number) * unit.length) : std::nullopt;
        }
    }
    return {};
}

} // namespace

CLI::Option & addDuration(CLI::App & command, String const & option, milliseconds & target,
                          String const & description, milliseconds least) {
    auto const read = [=, &target](String const & text) {
        auto const time = parse(text);
        if (!time || *time < least) {
            throw CLI::ValidationError(option, "wants a time such as 500ms, 5s or 10m, found \"" +
                                                   oneLine(text, 40) + '"');
        }
        target = *time;
    };
    return *command.add_option_function<String>(option, read, description)->type_name("TIME");
}
