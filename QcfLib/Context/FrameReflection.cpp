#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/Reflection.h"

/// The records of frames, their arguments and the log.

using namespace Qcf; // NOLINT(google-build-using-namespace): what is described has these names
using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

namespace {

// The five containers differ in the type of their values alone.
template <typename Container>
TypeData const & argumentRecord(char const * name, char const * type) {
    static FieldInfo const fields[] = {fieldOf<Container, &Container::values>("values", type)};
    static TypeData const data = typeRecord(TypeData::Kind::object, "Qcf::Eval", name, "", fields);
    return data;
}

} // namespace

TypeData const & TypeDataOf<AetNodePtrArgContainer>::get() {
    return argumentRecord<AetNodePtrArgContainer>("AetNodePtrArgContainer",
                                                  "AetNodePtrArgumentVector");
}
TypeData const & TypeDataOf<BandwidthTypeArgContainer>::get() {
    return argumentRecord<BandwidthTypeArgContainer>("BandwidthTypeArgContainer",
                                                     "BandwidthTypeArgumentVector");
}
TypeData const & TypeDataOf<IntTypeArgContainer>::get() {
    return argumentRecord<IntTypeArgContainer>("IntTypeArgContainer", "IntTypeArgumentVector");
}
TypeData const & TypeDataOf<PrefixListTypeArgContainer>::get() {
    return argumentRecord<PrefixListTypeArgContainer>("PrefixListTypeArgContainer",
                                                      "PrefixListTypeArgumentVector");
}
TypeData const & TypeDataOf<TriStateBoolTypeArgContainer>::get() {
    return argumentRecord<TriStateBoolTypeArgContainer>("TriStateBoolTypeArgContainer",
                                                        "TriStateBoolTypeArgumentVector");
}

// A frame's own text is in StackFrameText.cpp; this shows it field by field.
TypeData const & TypeDataOf<StackFrameData_>::get() {
    // A container that is null is shown as such: nothing of that type was passed.
    using Frame = StackFrameData_;
    static constexpr FieldInfo fields[] = {
        fieldOf<Frame, &Frame::aetNodePtrArgContainer>("aetNodePtrArgContainer",
                                                       "Ptr<AetNodePtrArgContainer>"),
        fieldOf<Frame, &Frame::bandwidthTypeArgContainer>("bandwidthTypeArgContainer",
                                                          "Ptr<BandwidthTypeArgContainer>"),
        fieldOf<Frame, &Frame::intTypeArgContainer>("intTypeArgContainer",
                                                    "Ptr<IntTypeArgContainer>"),
        fieldOf<Frame, &Frame::prefixListTypeArgContainer>("prefixListTypeArgContainer",
                                                           "Ptr<PrefixListTypeArgContainer>"),
        fieldOf<Frame, &Frame::triStateBoolTypeArgContainer>("triStateBoolTypeArgContainer",
                                                             "Ptr<TriStateBoolTypeArgContainer>"),
        fieldOf<Frame, &Frame::logHead>("logHead", "PtrConst<EvaluationLog>"),
        fieldOf<Frame, &Frame::logCurrent>("logCurrent", "Ptr<EvaluationLog>"),
    };
    static TypeData const data =
        typeRecord(TypeData::Kind::value, "Qcf::Eval", "StackFrameData_", "", fields);
    return data;
}

TypeData const & TypeDataOf<Debug::EvaluationLog>::get() {
    using Log = Debug::EvaluationLog;
    static constexpr FieldInfo fields[] = {
        fieldOf<Log, &Log::result>("result", "EvalResult"),
        fieldOf<Log, &Log::aetNodeKey>("aetNodeKey", "U64"),
        fieldOf<Log, &Log::functionCallLog>("functionCallLog", "PtrConst<EvaluationLogBase>"),
        // By its key: a chain may be long.
        fieldOf<Log,
                [](Log const & log) {
                    return log.nextLog() ? std::optional(log.nextLog()->aetNodeKey())
                                         : std::nullopt;
                }>("nextLog", "Ptr<EvaluationLog>"),
    };
    static TypeData const data = typeRecord(TypeData::Kind::object, "Qcf::Debug", "EvaluationLog",
                                            "EvaluationLogBase", fields);
    return data;
}
