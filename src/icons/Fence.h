#pragma once

namespace quorvel::icons {

/// What keeps a decoder that an image has taken over from doing harm.
struct Fence {
    /// All but a few system calls end the process (seccomp).
    bool holdsCalls = false;
    /// No file can be opened, however the kernel is asked (Landlock).
    bool holdsFiles = false;

    /// Either one keeps the user's files from being read and programs from being started, which is the harm
    /// that counts; so one is enough to go on with.
    bool holds() const { return holdsCalls || holdsFiles; }
};

/// Takes from this process, for good, all but what decoding needs: standard input is a socket to answer on,
/// standard error takes text, standard output goes nowhere, the next descriptor may hold one file to read.
/// What cannot be taken is said on standard error. Memory, processor time and the number of descriptors are
/// bounded from here on.
Fence raiseFence();

}  // namespace quorvel::icons
