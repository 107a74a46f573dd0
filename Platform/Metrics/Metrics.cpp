#include "Platform/Metrics/Metrics.h"

#include "Platform/Framework/Assert.h"
#include "Platform/Render/Utf8.h"

#include <algorithm>

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Of metrics and of labels alike; names with two underscores in front are the scraper's own.
bool isName(std::string_view name) {
    return !name.empty() && isLetter(name.front()) && !name.starts_with("__") &&
           std::ranges::all_of(name, [](char c) { return isLetter(c) || isDigit(c); });
}

} // namespace

Metric::Metric(Metrics & owner, String name, String help, MetricKind kind)
    : owner_(owner), name_(std::move(name)), help_(std::move(help)), kind_(kind) {}

// Values may come from anywhere: what would end a line, or a text, is made visible.
MetricLabels Metric::fit(MetricLabels labels) const {
    labels.insert(labels.end(), owner_.everywhere_.begin(), owner_.everywhere_.end());
    std::ranges::sort(labels);
    std::string_view before;
    for (auto & [name, value] : labels) {
        QCF_ASSERT_TEXT(isName(name), "a label's name has letters, digits and underscores");
        QCF_ASSERT_TEXT(name != before, "a label stands twice");
        before = name;
        value = visibleText(value);
    }
    return labels;
}

void Metric::valueIs(MetricLabels labels, F64 value) {
    labels = fit(std::move(labels));
    std::lock_guard const lock(owner_.mutex_);
    values_[std::move(labels)] = value;
}

void Metric::add(MetricLabels labels, F64 more) {
    QCF_ASSERT_TEXT(kind_ == MetricKind::gauge || more >= 0, "a counter only rises");
    labels = fit(std::move(labels));
    std::lock_guard const lock(owner_.mutex_);
    values_[std::move(labels)] += more;
}

void Metric::samplesAre(std::vector<MetricSample> samples) {
    std::map<MetricLabels, F64> values;
    for (MetricSample & sample : samples) {
        values[fit(std::move(sample.labels))] = sample.value;
    }
    std::lock_guard const lock(owner_.mutex_);
    values_ = std::move(values);
}

MetricFamily Metric::family() const {
    MetricFamily family{name_, help_, kind_, {}};
    family.samples.reserve(values_.size());
    for (auto const & [labels, value] : values_) {
        family.samples.push_back({labels, value});
    }
    return family;
}

Metric & Metrics::made(String name, String help, MetricKind kind) {
    QCF_ASSERT_TEXT(isName(name), "a metric's name has letters, digits and underscores");
    QCF_ASSERT_TEXT(help.find_first_of("\n\\") == String::npos, "help is one line");
    std::lock_guard const lock(mutex_);
    for (auto const & metric : metrics_) {
        QCF_ASSERT_TEXT(metric->name_ != name, "a metric of that name is there");
    }
    metrics_.push_back(
        std::unique_ptr<Metric>(new Metric(*this, std::move(name), std::move(help), kind)));
    return *metrics_.back();
}

Metric & Metrics::gauge(String name, String help) {
    return made(std::move(name), std::move(help), MetricKind::gauge);
}

Metric & Metrics::counter(String name, String help) {
    QCF_ASSERT_TEXT(name.ends_with("_total"), "a counter's name ends in _total");
    return made(std::move(name), std::move(help), MetricKind::counter);
}

void Metrics::refreshIs(std::function<void()> refresh) {
    // One that is replaced is no longer running when this returns: what it refers to may go.
    std::lock_guard const turn(readMutex_);
    refresh_ = std::move(refresh);
}

std::vector<MetricFamily> Metrics::read() {
    std::lock_guard const turn(readMutex_);
    if (refresh_) {
        refresh_();
    }
    std::lock_guard const lock(mutex_);
    std::vector<MetricFamily> families;
    for (auto const & metric : metrics_) {
        if (!metric->values_.empty()) {
            families.push_back(metric->family());
        }
    }
    return families;
}
