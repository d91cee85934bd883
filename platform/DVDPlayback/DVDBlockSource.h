// The navigator's blocks: read one at a time from libdvdnav into a buffer of their own, a block
// that cannot be read read again once; when that fails too, reading goes on from the first
// picture group past the damage. Also keeps where the reading stands in its picture group and
// cell. Used by the reading thread; its fields are guarded by the navigator's lock, the block
// itself is read without it.
#pragma once

#include "DVDReadFaults.h"

#include <cstdint>
#include <memory>
#include <vector>

struct dvdnav_s;

namespace dvd {

class DVDBlockSource {
 public:
  // faults (may be null): what the drive is told to do wrong.
  explicit DVDBlockSource(std::shared_ptr<DVDReadFaults> faults);
  DVDBlockSource(DVDBlockSource const&) = delete;
  DVDBlockSource& operator=(DVDBlockSource const&) = delete;

  // Reads from nav, the navigator's.
  void Construct(dvdnav_s* nav);
  void Reset();

  // The next block and its event; false when it could not be read twice.
  bool Read(int& event, int& len);
  uint8_t* Data() { return mBlock.data(); }

  // Reading failed twice: goes on from the first picture group past the damage; false when
  // nothing past it can be read.
  bool SkipDamage();
  // At a navigation packet: reading is past the damage last skipped.
  void PassedDamage();
  void ForgetDamage() { mDamageSkip = 0; }

  // A picture group's navigation packet: blocks of data follow; lastOfCell when the group
  // ends its cell.
  void StartGroup(int64_t blocks, bool lastOfCell);
  // A new cell: whether it is its program chain's last (cellLast: its last sector).
  void EnterCell(int64_t cellLast);
  // A data block of the group was read; true when it was the cell's last.
  bool TakeBlock();
  // What was read of the group no longer counts.
  void DropGroup();
  // The group read last ends its cell and is whole.
  bool AtCellEnd() const { return mAtCellEnd && mBlocksLeft <= 0; }
  bool InLastCell() const { return mInLastCell; }

 private:
  dvdnav_s* mNav = nullptr;
  std::shared_ptr<DVDReadFaults> mFaults;
  std::vector<uint8_t> mBlock;
  int64_t mBlocksLeft = 0;   // data blocks of the group still to read
  bool mInLastCell = false;  // reading the program chain's last cell
  bool mAtCellEnd = false;   // the group read last ends that cell
  uint32_t mDamageAt = 0;    // where reading last failed (sector in the program chain)
  uint32_t mDamageSkip = 0;  // how far past it the last try went
};

}  // namespace dvd
