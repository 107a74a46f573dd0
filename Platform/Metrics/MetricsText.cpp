#include "Platform/Metrics/Metrics.h"

#include <array>
#include <charconv>
#include <cmath>

namespace {

// Whole numbers as people write them, and not as 1e+06.
void appendValue(String & text, F64 value) {
    constexpr F64 exactlyWhole = 9007199254740992; // 2^53
    std::array<char, 32> digits{};
    char * const end = digits.data() + digits.size();
    if (std::isnan(value)) {
        text += "NaN";
    } else if (std::isinf(value)) {
        text += value > 0 ? "+Inf" : "-Inf";
    } else if (value == std::floor(value) && std::abs(value) < exactlyWhole) {
        text.append(digits.data(), std::to_chars(digits.data(), end, static_cast<S64>(value)).ptr);
    } else {
        text.append(digits.data(), std::to_chars(digits.data(), end, value).ptr);
    }
}

void appendLabels(String & text, MetricLabels const & labels) {
    char before = '{';
    for (auto const & [name, value] : labels) {
        text += before + name + "=\"";
        // No ends of lines are left in values.
        for (char const c : value) {
            if (c == '"' || c == '\\') {
                text += '\\';
            }
            text += c;
        }
        text += '"';
        before = ',';
    }
    if (!labels.empty()) {
        text += '}';
    }
}

} // namespace

String metricsText(std::vector<MetricFamily> const & families) {
    String text;
    for (MetricFamily const & family : families) {
        char const * const kind = family.kind == MetricKind::counter ? "counter" : "gauge";
        text += "# HELP " + family.name + ' ' + family.help + '\n';
        text += "# TYPE " + family.name + ' ' + kind + '\n';
        for (MetricSample const & sample : family.samples) {
            text += family.name;
            appendLabels(text, sample.labels);
            text += ' ';
            appendValue(text, sample.value);
            text += '\n';
        }
    }
    return text;
}
