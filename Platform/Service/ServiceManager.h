#pragma once

#include <string_view>

/// Tells the service manager that started this process how it stands, by the protocol of systemd's
/// units of `Type=notify`; does nothing where none asked for it ($NOTIFY_SOCKET). Lines such as
///
///     notifyServiceManager("READY=1\nSTATUS=edge version 3");
///
/// A manager that does not listen is no fault of this process, and nothing is told of it.
void notifyServiceManager(std::string_view state);
