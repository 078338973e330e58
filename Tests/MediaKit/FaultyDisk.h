#pragma once

/// The disk under this program's movie files, which a test can make fail or wait. It takes the place of the C
/// library's calls in the whole test program.
namespace quillant::FaultyDisk {

enum class Fault {
  fails,       ///< A call reports an error; it did nothing, unless it was to close the file.
  tears,       ///< A write does half of what was asked, and the next one reports an error.
  kills,       ///< The process dies: before a call, or in the middle of a write.
  neverSyncs,  ///< Each sync reports an error.
};

/// Lets the `step`th call from now on, counted from 0, meet the fault. A call reads, writes, syncs, cuts or
/// closes; for a torn write only writes count, for syncs only these.
void arm(Fault fault, int step);
/// Nothing fails from now on. Whether the fault was met.
bool disarm();

/// Writes wait as long as it lives.
class Stall {
 public:
  Stall();
  ~Stall();
  Stall(const Stall&) = delete;
  Stall& operator=(const Stall&) = delete;
};

}  // namespace quillant::FaultyDisk
