#pragma once

namespace halvard::purge_worker {

/// Whether `parent` made the channel and belongs to the user that this process runs for, and this process is nobody
/// else: a program file that was made set-user-id by mistake serves nobody.
bool callerIsOwnUser(long parent);

/// Gives up every right but the one to advise other processes (CAP_SYS_NICE). False when that one is not there.
/// Root keeps CAP_SYS_PTRACE as well: without it the kernel would not show root its own processes, which hold rights
/// that this one has given up. An ordinary user never has it.
bool keepOnlyPageOut();

}  // namespace halvard::purge_worker
