# Sources compiled several at a time: most of a source's time goes into headers, which neighbours then
# read once. The presets of the sanitizers do so (CMAKE_UNITY_BUILD), in less than half the time. What
# is released and what lint reads is compiled source by source, so that each names what it includes.

# Sources whose own names are also names of a neighbour, which only one of the two can have where they
# are joined; they are compiled alone. Where a joined build says "redefinition", add the source here.
set(qcfAlone
    Agent/Routes/RouteSchema.cpp
    Agent/Tables/TableGenerator.cpp
    Command/Diff.cpp
    Command/PolicyPlaces.cpp
    Command/Profile.cpp
    Command/RouteRun.cpp
    Command/RouteText.cpp
    Command/Schema.cpp
    Command/Test.cpp
    Command/WatchMetrics.cpp
    Command/WatchOptions.cpp
    Command/WriteFile.cpp
    Documents/NodeReader.cpp
    Lists/ListCheck.cpp
    Lists/ListsSchema.cpp
    Lists/RoaExport.cpp
    Lists/RoaScan.cpp
    Live/RisReplay.cpp
    Mirror/StatusCopy.cpp
    Questions/FlipText.cpp
    Questions/ImpactReport.cpp
    Questions/MutantConstants.cpp
    Text/Cursor.cpp
    Text/ListCommunityReader.cpp
    Text/ListEntryReader.cpp
    Text/ListNumberReader.cpp
    Text/ListPrinter.cpp
    Text/Literal.cpp
    Text/Message.cpp
    Text/Patterns.cpp
    Text/PrintedProgram.cpp
    Text/PrintedValues.cpp
    Text/RouteValues.cpp
    Text/Scope.cpp
    Text/Words.cpp
    Watch/ProfileRows.cpp
    Watch/ValuesText.cpp
    bench/ImportText.cpp
    bench/NodesWithoutStep.cpp
    bench/Report.cpp
    bench/ReportJobs.cpp
    bench/ReportJson.cpp
    fuzz/RecordingSeeds.cpp
    tests/Agent/Evaluation/ExampleLogTest.cpp
    tests/Command/DocumentCommandsTest.cpp
    tests/Command/EvalTest.cpp
    tests/Command/ListsTest.cpp
    tests/Command/ProfileTest.cpp
    tests/Command/QuestionsTest.cpp
    tests/Command/ReportTest.cpp
    tests/Command/TestTest.cpp
    tests/Lists/PrefixListTest.cpp
    tests/Lists/RoaTableTest.cpp
    tests/Live/InterleavingTest.cpp
    tests/Live/LateEvaluationTest.cpp
    tests/Live/LiveTools.cpp
    tests/Live/LocRibTest.cpp
    tests/Live/RouteEventsTest.cpp
    tests/Live/StationTest.cpp
    tests/Live/StorageTest.cpp
    tests/Mirror/ListBatchTest.cpp
    tests/Mirror/PlacesTest.cpp
    tests/Mirror/RandomEditsTest.cpp
    tests/Mirror/Redis/HealingTest.cpp
    tests/Mirror/Redis/ReplyBoundsTest.cpp
    tests/QcfLib/AttributeSetTest.cpp
    tests/QcfLib/ControlFlowTest.cpp
    tests/QcfLib/EvaluationObserverTest.cpp
    tests/QcfLib/LentSetTest.cpp
    tests/QcfLib/NodeContractTest.cpp
    tests/QcfLib/PlanConstantsTest.cpp
    tests/QcfLib/PlanSmallTreesTest.cpp
    tests/QcfLib/SetOperatorTest.cpp
    tests/QcfLib/SharedTreeTest.cpp
    tests/QcfLib/StatementCountsTest.cpp
    tests/QcfLib/StoreTest.cpp
    tests/Questions/MutantTest.cpp
    tests/Text/Patterns_test.cpp
    tests/Watch/RandomEvaluationTest.cpp
    tests/support/RandomDocument.cpp)
list(TRANSFORM qcfAlone PREPEND ${PROJECT_SOURCE_DIR}/)

# qcf_join(NAME): says of a target's sources which stay alone.
function(qcf_join name)
    get_target_property(sources ${name} SOURCES)
    foreach(source IN LISTS sources)
        cmake_path(ABSOLUTE_PATH source NORMALIZE OUTPUT_VARIABLE path)
        if(path IN_LIST qcfAlone)
            set_source_files_properties(${source} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
        endif()
    endforeach()
endfunction()
