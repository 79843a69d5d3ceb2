#pragma once

namespace halvard::bench {

/// Fills nine tenths of a machine without swap, as a process that gives way to everybody else, and purges so many times
/// in a row, exactly as the program does. Prints what became of the machine's processes and of a 60 Hz probe. The exit
/// status: 0 when nobody was killed but purge workers and no frame took a second, 77 where it cannot be tried.
int purgeOnAFullMachine(int purges);

}  // namespace halvard::bench
