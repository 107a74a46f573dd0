#pragma once

// Private to this folder: RapidJSON as it is used here. Its misuse is an assertion of ours in every
// build type. The namespace is our own, so that an embedder's RapidJSON, configured otherwise, may
// be linked into the same program.

#include "Platform/Framework/Assert.h"

/// The library asserts; that must not depend on how an embedder builds.
#define RAPIDJSON_ASSERT(condition) QCF_ASSERT(condition)
/// Two copies of one inline function with different settings would be one function by chance.
#define RAPIDJSON_NAMESPACE qcfRapidJson
#define RAPIDJSON_NAMESPACE_BEGIN namespace qcfRapidJson {
#define RAPIDJSON_NAMESPACE_END }

#include <rapidjson/error/en.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>
