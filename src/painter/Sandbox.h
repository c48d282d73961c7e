#pragma once

namespace quorvel::painter {

/// Takes from this process, and from all that it starts, what painting does not need: new privileges through
/// programs that it runs, and, by seccomp, every kind of socket but local ones. Afterwards making any other
/// socket fails with EAFNOSUPPORT. `displayIsRemote` leaves the Internet's sockets, by which such a display
/// is reached. To be called before there are threads. What the kernel does not offer is left out.
void enterSandbox(bool displayIsRemote);

/// Whether the X display of that name, as DISPLAY has it, is on a host: "host:0", and not ":0" or "unix:0".
bool isRemoteDisplay(const char* name);

}  // namespace quorvel::painter
