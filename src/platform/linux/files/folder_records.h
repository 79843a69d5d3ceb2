#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace halvard {

/// What a call of getdents64 wrote.
namespace folder_records {

/// The kernel's record; the name follows in place.
struct Record {
  std::uint64_t inode;
  std::int64_t goesOnAt;
  std::uint16_t length;
  std::uint8_t type;
};

/// Calls `visit` with the name, which ends in a zero byte, and the recorded DT_ type of every entry but "." and "..".
/// The answer is where the folder goes on behind the last record, as that record tells it.
template <class Visit>
std::int64_t forEach(std::span<const std::byte> records, Visit visit) {
  Record record{};
  for (; !records.empty(); records = records.subspan(record.length)) {
    std::memcpy(&record, records.data(), sizeof record);
    const char* const name = reinterpret_cast<const char*>(records.data()) + offsetof(Record, type) + 1;
    if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
    visit(name, record.type);
  }
  return record.goesOnAt;
}

/// True when a batch that ends so was the last of its folder: the next call would deliver nothing. False when that is
/// not known. `fileSystem` is the type that statfs tells. Room in the buffer proves nothing: the kernel also stops
/// early when a signal waits, as it does when the process is stopped or frozen.
bool endsFolder(std::int64_t goesOnAt, std::int64_t fileSystem);

}  // namespace folder_records

}  // namespace halvard
