#include "Agent/Mrt/MrtReader.h"

#include <utility>

/// The same stretches and records serve two ways of reading: alone, where the bytes are used in the
/// source's window, and by shares, which copy theirs so that the window can move on.
namespace Qcf::Agent {

namespace {

/// Puts the file's name before every line.
Lists::Reporter reporterOf(String const & name, Lists::Reporter report) {
    if (!report) {
        return {};
    }
    return [name, report = std::move(report)](String const & line) { report(name + ": " + line); };
}

} // namespace

/// Decodes stretches of its own. What is met in them is kept back until it is its turn to be told.
class MrtReader::Share final : public RouteShare {
public:
    // Lines are kept without the file's name, which the reader's reporter puts before them. The
    // reporter holds this object's address, so that a share stays where it is made.
    explicit Share(MrtReader & reader)
        : reader_(reader), findings_(reader.findings_.compressed, [this](String const & line) {
              lines_.push_back(line);
          }) {}

    // Answers true once more at the end of the data: what was met on the way there is still to be
    // settled.
    bool take() override {
        if (reader_.ended_) {
            return false;
        }
        last_ = !reader_.nextStretch(findings_);
        MrtStretch stretch;
        if (!last_) {
            stretch = reader_.frames_.stretch();
            // Others go on cutting while these bytes are decoded.
            bytes_.assign(stretch.data, stretch.data + stretch.size);
            stretch.data = bytes_.data();
        }
        records_.stretchIs(stretch);
        return true;
    }

    bool next(Route & route) override { return records_.next(route, findings_); }

    void settle() override {
        MrtFindings & all = reader_.findings_;
        for (String const & line : lines_) {
            all.log.add(line);
        }
        // Lines that this share did not keep count as well, or the number told at the end would be
        // too small.
        all.log.addUnsaid(findings_.log.unsaid());
        all.statistics.add(std::exchange(findings_.statistics, {}));
        lines_.clear();
        findings_.log.restart();
        // Whoever met the end of the data is settled last.
        if (std::exchange(last_, false)) {
            all.log.close();
        }
    }

private:
    MrtReader & reader_;
    MrtRecords records_;
    std::vector<U8> bytes_;
    MrtFindings findings_;
    std::vector<String> lines_;
    bool last_ = false; ///< there is no stretch any more, only how the data ended
};

std::unique_ptr<RouteReader> makeMrtReader(Lists::ByteSource source, String const & name,
                                           Lists::Reporter report) {
    return std::make_unique<MrtReader>(std::move(source), name, std::move(report));
}

MrtReader::MrtReader(Lists::ByteSource source, String const & name, Lists::Reporter report,
                     std::size_t stretch)
    : frames_(std::move(source), stretch),
      findings_(frames_.compressed(), reporterOf(name, std::move(report))) {}

// Most routes come from the stretch at hand.
bool MrtReader::next(Route & route) {
    return records_.next(route, findings_) || nextOfStretches(route);
}

[[gnu::noinline]] bool MrtReader::nextOfStretches(Route & route) {
    do {
        if (ended_) {
            return false;
        }
        if (!nextStretch(findings_)) {
            // Reached once: from now on the question above answers.
            findings_.log.close();
            return false;
        }
        records_.stretchIs(frames_.stretch());
    } while (!records_.next(route, findings_));
    return true;
}

bool MrtReader::nextStretch(MrtFindings & findings) {
    ended_ = !frames_.next(findings);
    return !ended_;
}

std::unique_ptr<RouteShare> MrtReader::makeShare() { return std::make_unique<Share>(*this); }

} // namespace Qcf::Agent
