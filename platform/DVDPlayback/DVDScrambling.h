// CSS-scrambled discs: recognised from the scrambling bits of their packets' headers.
// libdvdread descrambles them when libdvdcss is installed; without it they cannot play.
#pragma once

struct dvd_reader_s;

namespace dvd {

// True when the first titleset with title video has scrambled packets among its first
// sectors (as read through reader: descrambled ones no longer say so).
bool DVDTitlesScrambled(dvd_reader_s* reader, int titleSets);
// True when the descrambling library libdvdread loads is installed.
bool DVDDescramblerInstalled();

}  // namespace dvd
