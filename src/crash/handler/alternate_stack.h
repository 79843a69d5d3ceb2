#pragma once

#include <cstddef>

/// Stacks beside a thread's own. A signal handler that finds the own one overflown can run on such a stack alone.
///
/// This file also stands before pthread_create: every thread of the program that links it, whichever library starts
/// it, gets an alternate signal stack for as long as it runs. Until that is used, it costs addresses and no memory.
namespace halvard::crash_handler {

/// The lower end of a new stack, below which nothing is mapped; null when the system refuses it.
std::byte* makeStack(std::size_t size);

/// Gives the calling thread, which pthread_create did not start, an alternate signal stack for good. False when the
/// system refuses it.
bool useAlternateStack();

}  // namespace halvard::crash_handler
