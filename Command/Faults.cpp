#include "Command/Faults.h"

#include "Command/Log.h"
#include "Command/PolicyFile.h"

void tellFault(DocumentError const & error) {
    if (dynamic_cast<TextError const *>(&error) == nullptr) {
        return tellError(error.what());
    }
    tell(String(error.what()) + '\n');
}
