// The subpicture units on screen at a picture group that were read before it. A subtitle
// lasts seconds while a group lasts half of one, so a jump into the middle of a subtitle
// lands after the unit that draws it. The group's navigation packet tells, stream by stream,
// the group holding that unit (its sync addresses); where it tells none, the unit may still
// have begun in a cell before, and the last group of each of the cells just before in the
// program chain is asked. The units are read from the title set's VOBs with a reader of the
// module's own, by the navigator's reading thread outside its lock.
#pragma once

#include "DVDTitleTable.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct dvd_reader_s;
struct dvd_file_s;

namespace dvd {

struct DVDSubpictureUnit {
  int stream = 0;
  int64_t pts = 0;             // of its first packet, 90 kHz
  std::vector<uint8_t> bytes;  // the whole unit, as its first two bytes size it
};

// Where a picture group was read, as its navigation packet and the navigator tell.
struct DVDSubpicturePlace {
  int title = 0;           // the disc's title, from 1
  uint32_t navSector = 0;  // its navigation packet, in the title set's title VOBs
  uint16_t vob = 0;        // the VOB and cell it belongs to
  uint8_t cell = 0;
  int64_t ptsStart = 0;    // its first time stamp
  std::array<uint32_t, 32> synca{};  // the packet's sync address of each stream
  uint32_t shown = 0;      // bit n: stream n is shown, looked for in the cells before too
};

class DVDSubpictureSync {
 public:
  explicit DVDSubpictureSync(std::string path);
  ~DVDSubpictureSync();
  DVDSubpictureSync(DVDSubpictureSync const&) = delete;
  DVDSubpictureSync& operator=(DVDSubpictureSync const&) = delete;

  // The last unit of each stream that began before the group, at most one a stream; false
  // when the disc cannot be read there (units is then empty).
  bool Read(DVDSubpicturePlace const& place, std::vector<DVDSubpictureUnit>* units);

 private:
  struct ReaderCloser {
    void operator()(dvd_reader_s* reader) const;
  };
  struct FileCloser {
    void operator()(dvd_file_s* file) const;
  };
  using Found = std::array<DVDSubpictureUnit, 32>;  // bytes empty: none

  bool OpenTitleSet(int title);
  bool ReadSectors(uint32_t sector, size_t count, uint8_t* data);
  // Units of streams in the group whose navigation packet is at from (ending before end),
  // read on past it only to complete one; found keeps the last of each stream.
  bool Scan(uint32_t from, uint32_t end, uint32_t streams, int64_t before, Found& found);
  // The navigation packet of the groups the sync addresses at nav point to, scanned for the
  // streams asked; returns the streams that had an address.
  uint32_t ScanSynced(uint32_t nav, std::array<uint32_t, 32> const& synca, uint32_t streams,
                      uint32_t end, int64_t before, Found& found);
  // The last groups of the cells before place's in its program chain, nearest first, as
  // long as they are of the same VOB (its time stamps run on).
  std::vector<uint32_t> CellsBefore(DVDSubpicturePlace const& place) const;

  std::string mPath;
  std::unique_ptr<dvd_reader_s, ReaderCloser> mReader;
  bool mUnreadable = false;  // the disc did not open: not tried again
  Ifo mManager;
  int mTitleSet = 0;
  int mTitleSetTitle = 0;  // the title's number in its title set
  Ifo mSet;
  std::unique_ptr<dvd_file_s, FileCloser> mVobs;
};

}  // namespace dvd
