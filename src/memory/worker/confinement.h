#pragma once

/// How a worker narrows what it is and what it may do before it serves the first command.
namespace halvard::purge_worker {

/// True when the kernel will end this process together with the thread that made it. False when `parent` is gone
/// already: then no signal will come.
bool endWithParent(long parent);

/// Whoever works at the desktop comes first, at the processors (`niceness` is 1 to 19) and at the disk. Failing is no
/// reason to stop.
void giveWay(int niceness);

/// The environment, all descriptors above 2, core dumps, and the way to more rights through another program.
void dropWhatWasInherited();

}  // namespace halvard::purge_worker
