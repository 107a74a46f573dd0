#include "Command/Command.h"
void addImpactCommand(Commands &) {}
