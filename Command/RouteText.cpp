#include "Command/RouteText.h"

#include "Agent/Routes/ValueRenderer.h"
#include "Platform/Render/Utf8.h"
#include "Platform/Routing/CommunityText.h"
#include "Platform/Routing/TextPieces.h"
#include "Text/MapFile.h"
#include "Watch/ExplanationText.h"

namespace {

using Qcf::Agent::Evaluated;
using Qcf::Agent::SetForm;
using Qcf::Debug::EvaluationLog;
using Qcf::Text::PlaceMap;
using Routing::TextPieces::appendDecimal;

/// Appends values of attributes without quotes, elements of sets joined by a comma. A path has
/// blanks between its numbers, and so is the one value in quotes.
class PlainText {
public:
    PlainText(String & out, SetForm form) : out_(out), form_(form) {}

    void operator()(U64 value) const { appendDecimal(out_, value); }
    void operator()(IpGenAddr const & value) const { value.appendText(out_); }
    void operator()(Routing::Rib::ResolutionRibProfileConfig const & value) const {
        out_ += visibleText(value.toString());
    }
    void operator()(Routing::Bgp::AsnVector const & value) const {
        out_ += '"';
        appendAsPathText(out_, value);
        out_ += '"';
    }
    template <typename Element>
    void operator()(std::span<Element const> values) const {
        bool first = true;
        for (Element const & value : values) {
            if (!first) {
                out_ += ',';
            }
            first = false;
            element(value);
        }
    }

private:
    // The type of an element does not say which kind of set it is of; the form does.
    void element(U64 value) const {
        if (form_ == SetForm::standardCommunities) {
            appendStandardCommunityText(out_, value);
        } else {
            appendDecimal(out_, value);
        }
    }
    void element(Acl::CommunityValue const & value) const {
        if (form_ == SetForm::largeCommunities) {
            appendLargeCommunityText(out_, value);
        } else {
            appendExtCommunityText(out_, value);
        }
    }

    String & out_;
    SetForm form_;
};

/// Fills up with blanks so that what follows stands `width` behind `start`. What is wider pushes
/// the rest of its line, so that nothing is cut.
void padTo(String & out, std::size_t start, std::size_t width) {
    std::size_t const length = out.size() - start;
    out.append(length < width ? width - length : 0, ' ');
}

/// What stands before the changes of a route; wide enough for most, since a table is not known to
/// its end when its first line is written.
struct Column {
    char const * title;
    std::size_t width; ///< with the blank behind it
    void (*append)(String & out, Evaluated const & evaluated);
};

void appendPeer(String & out, Evaluated const & evaluated) {
    IpGenAddr const & peer = evaluated.route.sourceSessionRemoteIpAddress;
    if (peer.isAddrZero()) {
        out += '-';
    } else {
        peer.appendText(out);
    }
}

void appendResult(String & out, Evaluated const & evaluated) {
    out += toString(evaluated.result.retVal());
    if (evaluated.result.terminates()) {
        out += ' ';
        out += toString(evaluated.result.termination());
    }
}

constexpr Column columns[] = {
    {"route", 9, [](String & out, Evaluated const & at) { appendDecimal(out, at.number); }},
    {"prefix", 20, [](String & out, Evaluated const & at) { at.route.ipPrefix.appendText(out); }},
    {"peer", 17, appendPeer},
    {"result", 17, appendResult},
};

// A chain is as long as a function's log, but calls nest only as deep as trees may.
void appendRecords(String & out, EvaluationLog const * record, std::size_t indent,
                   PlaceMap const * places) {
    for (; record != nullptr; record = record->nextLog().get()) {
        out.append(indent, ' ');
        appendDecimal(out, record->aetNodeKey());
        out += ' ';
        out += toString(record->result().retVal());
        if (record->result().terminates()) {
            out += ' ';
            out += toString(record->result().termination());
        }
        if (places != nullptr) {
            out += "  ";
            out += visibleText(places->text(record->aetNodeKey()));
        }
        out += '\n';
        auto const * const call = record->functionCallLog().get();
        // Logs of other engines' functions may stand here, whose records are of another class.
        if (call != nullptr && call->policyType() == EvaluationLog::policyTypeQcf) {
            appendRecords(out, static_cast<EvaluationLog const *>(call), indent + 4, places);
        }
    }
}

void renderRecords(EvaluationLog const * record, PlaceMap const & places, RendererV2 & renderer);

// As the log writes itself, with one member more.
void renderRecord(EvaluationLog const & record, PlaceMap const & places, RendererV2 & renderer) {
    renderer.beginObject();
    renderer.key("aetNodeKey");
    renderer.value(record.aetNodeKey());
    if (auto const * const place = places.find(record.aetNodeKey())) {
        renderer.key("at");
        renderer.beginArray();
        renderer.value(places.fileName(*place));
        renderer.value(U64{place->begin.line});
        renderer.value(U64{place->begin.column});
        renderer.endArray();
    }
    renderer.key("result");
    renderer.value(toString(record.result().retVal()));
    renderer.key("termination");
    renderer.value(toString(record.result().termination()));
    if (auto const * const call = record.functionCallLog().get()) {
        renderer.key("functionCallLog");
        renderer.beginObject();
        if (call->policyType() == EvaluationLog::policyTypeQcf) {
            renderRecords(static_cast<EvaluationLog const *>(call), places, renderer);
        } else {
            call->toJson(&renderer);
        }
        renderer.endObject();
    }
    renderer.endObject();
}

void renderRecords(EvaluationLog const * record, PlaceMap const & places, RendererV2 & renderer) {
    renderer.key("entries");
    renderer.beginArray();
    for (; record != nullptr; record = record->nextLog().get()) {
        renderRecord(*record, places, renderer);
    }
    renderer.endArray();
}

} // namespace

void renderRoute(Evaluated const & evaluated, RouteDetails const & details, RendererV2 & renderer,
                 Qcf::Agent::ValueRenderer & values) {
    renderer.beginObject();
    renderer.key("route");
    renderer.value(evaluated.number);
    if (details.file != nullptr) {
        renderer.key("file");
        renderer.value(*details.file);
    }
    renderer.key("prefix");
    values.render(evaluated.route.ipPrefix);
    if (IpGenAddr const & peer = evaluated.route.sourceSessionRemoteIpAddress; !peer.isAddrZero()) {
        renderer.key("peer");
        values.render(peer);
    }
    renderer.key("result");
    renderer.value(toString(evaluated.result.retVal()));
    renderer.key("termination");
    renderer.value(toString(evaluated.result.termination()));
    renderer.key("changes");
    renderer.beginObject();
    evaluated.context.changes().eachChange([&](auto, char const * name, auto const & value) {
        renderer.key(name);
        values.render(value, Qcf::Agent::setFormOf(name));
    });
    renderer.endObject();
    if (evaluated.context.nextHopSetToSelf()) {
        renderer.key("nextHopSetToSelf");
        renderer.value(true);
    }
    if (details.decision != nullptr) {
        renderer.key("decidedBy");
        renderDecidedBy(details.decision->place, details.decision->reason, renderer);
    }
    // Where a log was asked for the member is always there, be it empty.
    if (details.log) {
        renderer.key("log");
        renderer.beginObject();
        if (auto const log = evaluated.context.evaluationLog()) {
            details.places == nullptr ? log->toJson(&renderer)
                                      : renderRecords(log.get(), *details.places, renderer);
        }
        renderer.endObject();
    }
    renderer.endObject();
}

namespace {

/// As wide as the place and the reason of a statement usually are.
constexpr std::size_t decisionWidth = 40;

void appendDecision(String & out, ShownDecision const & decision) {
    std::size_t const start = out.size();
    out += decision.place == nullptr ? "-" : visibleText(decision.place->text());
    out += decision.reason.empty() ? "" : " " + visibleText(decision.reason);
    out += ' ';
    padTo(out, start, decisionWidth);
}

} // namespace

String routeHeading(bool withDecision) {
    String line;
    std::size_t end = 0;
    for (Column const & column : columns) {
        line += column.title;
        end += column.width;
        padTo(line, 0, end);
    }
    if (withDecision) {
        line += "decided by";
        padTo(line, 0, end + decisionWidth);
    }
    return line + "changes\n";
}

// Each value appends itself: a String for each would be made for every route.
void appendRouteLine(String & out, Evaluated const & evaluated, RouteDetails const & details) {
    std::size_t const start = out.size();
    std::size_t end = 0;
    for (Column const & column : columns) {
        column.append(out, evaluated);
        end += column.width;
        // A value that is too wide for its column stays apart from the next.
        out += ' ';
        padTo(out, start, end);
    }
    if (details.decision != nullptr) {
        appendDecision(out, *details.decision);
    }
    evaluated.context.changes().eachChange([&out](auto, char const * name, auto const & value) {
        out += name;
        out += '=';
        PlainText(out, Qcf::Agent::setFormOf(name))(value);
        out += ' ';
    });
    if (evaluated.context.nextHopSetToSelf()) {
        out += "nextHopSetToSelf";
    }
    // The last column is filled up, too, where nothing follows it.
    out.resize(out.find_last_not_of(' ') + 1);
    out += '\n';
}

void appendLogLines(String & out, Evaluated const & evaluated, PlaceMap const * places) {
    appendRecords(out, evaluated.context.evaluationLog().get(), 4, places);
}
