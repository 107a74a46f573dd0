#pragma once

// Private to this folder: RapidJSON as it is used here. Its misuse is an assertion of ours in every
// build type. The namespace is our own, so that an embedder's RapidJSON, configured otherwise, may
// be linked into the same program.

#include "Platform/Framework/Assert.h"

#define RAPIDJSON_ASSERT(condition) QCF_ASSERT(condition)
#define RAPIDJSON_NAMESPACE qcfRapidJson
#define RAPIDJSON_NAMESPACE_BEGIN namespace qcfRapidJson {
#define RAPIDJSON_NAMESPACE_END }

#include <rapidjson/error/en.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>
