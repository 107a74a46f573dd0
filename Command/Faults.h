#pragma once

#include "Platform/Render/DocumentError.h"

/// Tells what is wrong with a document as an error in one line, and what is wrong with a policy
/// text as its messages are printed: with the lines that they point into. Any thread.
void tellFault(DocumentError const & error);
