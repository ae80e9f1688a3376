#ifndef TARVIK_HOST_OSTRUMXML_ENCODING_H
#define TARVIK_HOST_OSTRUMXML_ENCODING_H

namespace Ostrum {

enum UTF_ENCODINGS : int {
  EBCDIC = 0,
  UCS_4B = 1,
  UCS_4L = 2,
  US_ASCII = 3,
  UTF_8 = 4,
  UTF_16B = 5,
  UTF_16L = 6,
  NO_ENCODING = 999,
};

} // namespace Ostrum

#endif
