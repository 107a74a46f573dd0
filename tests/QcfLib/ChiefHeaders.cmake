# Each chief header alone, in a source of its own: it compiles, and it defines the name beside it.
set(chiefHeaders
    "QcfEval=Qcf::Eval::Function"
    "QcfEvalStackFrameData=Qcf::Eval::StackFrameData_"
    "QcfEvalContext=Qcf::Eval::EvalContext"
    "QcfEvalContextGenerated=Qcf::Eval::GeneratedEvalContext"
    "EvaluationObserver=Qcf::Eval::EvaluationObserver"
    "QcfDebugEvaluationLog=Qcf::Debug::EvaluationLog"
    "QcfEvalCollections=Qcf::Eval::CommunitySmallVector"
    "QcfEvalLazyCollection=Qcf::Eval::LazyCommunitySmallVectorInsertingLBW"
    "QcfEvalBasicTypes=Qcf::Eval::IntImmediate"
    "QcfEvalCommunityTypes=Qcf::Eval::BandwidthToCommunityValue"
    "QcfEvalOperatorTypes=Qcf::Eval::IntSetAddCommList"
    "QcfLibHelpers=decltype(&Qcf::Eval::verifyCommListSanity)"
    "QcfEvalAttributeSet=Qcf::Eval::AccessibleAttributes"
    "QcfAllAetEntities=Qcf::AllAetEntities"
    "QcfAetCollections=Qcf::AetCollections"
    "QcfLib=Qcf::AllFunctionStatus"
    "ClientPlugin/QcfRoutingAttributeTypes=Qcf::Eval::SourceProtocolType"
    "ClientPlugin/QcfEvalAttributeTypes=Qcf::Eval::Attribute::Med"
)

set(sources)
foreach(row IN LISTS chiefHeaders)
    string(REGEX MATCH "^([^=]+)=(.+)$" row "${row}")
    set(header ${CMAKE_MATCH_1})
    set(name ${CMAKE_MATCH_2})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${header}.cpp)
    file(CONFIGURE OUTPUT ${source} @ONLY
        CONTENT "#include \"QcfLib/@header@.h\"\nstatic_assert(sizeof(@name@) > 0);\n")
    list(APPEND sources ${source})
endforeach()

if(TARGET QcfLib)
    add_library(test_headers OBJECT ${sources})
    target_link_libraries(test_headers PRIVATE QcfCompile QcfLib)
    add_dependencies(test_qcflib test_headers)
endif()
