#include "QcfLib/Context/AttributeFieldsGenerated.h"
#include "QcfLib/Nodes/TypeRecord.h"
#include "QcfLib/Reflection.h"

#include <vector>

/// The records of the attribute layer: its store, its cache and their enumerations.

using namespace Qcf::Eval; // NOLINT(google-build-using-namespace): what is described has these
                           // names

// Fields of attributes are generated; here is what holds them together.
TypeData const & TypeDataOf<AttributeContent>::get() {
    static TypeData const data =
        typeRecord(TypeData::Kind::entity, "Qcf::Eval", "AttributeContent", "Entity", storedFields);
    return data;
}
TypeData const & AttributeContent::typeData() const { return TypeDataOf<AttributeContent>::get(); }

// A cached input is shown only while it is populated.
TypeData const & TypeDataOf<QcfEvalContextCacheGenerated>::get() {
    static TypeData const data = typeRecord(TypeData::Kind::entity, "Qcf::Eval",
                                            "QcfEvalContextCacheGenerated", "Entity", cacheFields);
    return data;
}
TypeData const & QcfEvalContextCacheGenerated::typeData() const {
    return TypeDataOf<QcfEvalContextCacheGenerated>::get();
}

TypeData const & TypeDataOf<GeneratedEvalContext>::get() {
    using Context = GeneratedEvalContext;
    // Three of its own, and then a flag for each modifiable attribute, which are generated.
    static std::vector<FieldInfo> const fields = [] {
        std::vector<FieldInfo> all = {
            fieldOf<Context, &Context::attributeContent_>("attributeContent",
                                                          "Ptr<AttributeContent>"),
            fieldOf<Context, &Context::cache_>("cache", "Ptr<QcfEvalContextCacheGenerated>"),
            fieldOf<Context, &Context::functionCallDepth>("functionCallDepth", "U32"),
        };
        all.insert(all.end(), std::begin(modifiedFields), std::end(modifiedFields));
        return all;
    }();
    static TypeData const data = typeRecord(TypeData::Kind::entity, "Qcf::Eval",
                                            "GeneratedEvalContext", "EvalContextBase", fields);
    return data;
}
TypeData const & GeneratedEvalContext::typeData() const {
    return TypeDataOf<GeneratedEvalContext>::get();
}

// Names and numbers are generated with the enumerations.
TypeData const & TypeDataOf<ModifiableAttribute>::get() {
    static TypeData const data =
        enumRecord("Qcf::Eval", "ModifiableAttribute", modifiableAttributes);
    return data;
}
TypeData const & TypeDataOf<QcfEvalContextCacheGenerated::Input>::get() {
    static TypeData const data =
        enumRecord("Qcf::Eval::QcfEvalContextCacheGenerated", "Input", cachedInputs);
    return data;
}
