// Descriptors the catalogue opens: never 0, 1 or 2, so that a program started with a
// standard stream closed never prints into a catalogue or its lock.
#pragma once

namespace telvor::catalogue::detail {

// `fd` itself when above 2 (or negative); else a close-on-exec duplicate above 2, with `fd`
// closed. -1 with errno set when no duplicate can be made.
int aboveStandardStreams(int fd) noexcept;

}  // namespace telvor::catalogue::detail
