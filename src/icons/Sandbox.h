#pragma once

namespace quorvel::icons {

/// Takes from this process, for good, all but what decoding needs, so that a decoder that an image has taken
/// over can do no harm: all but a few system calls end it (seccomp), and no file can be opened, however the
/// kernel is asked (Landlock). Standard input is a socket to answer on, standard error takes text, standard
/// output goes nowhere, the next descriptor may hold one file to read. Memory, processor time and the number
/// of descriptors are bounded. What cannot be taken is reported on standard error. False when neither of the
/// two holds: either one keeps the user's files from being read and programs from being started, which is the
/// harm that counts.
bool enterSandbox();

}  // namespace quorvel::icons
