#include "host/ostrumxml/data/keyed_hash.h"

#include "platform/platform.h"

namespace Ostrum {

KeyedHash::KeyedHash() noexcept {
  std::uint64_t key[2] = {};
  // Without a random source, an address is still hard to guess.
  if (!platform::FillRandom(key, sizeof key)) key[0] = reinterpret_cast<std::uintptr_t>(this);
  key0 = key[0];
  key1 = key[1];
}

} // namespace Ostrum
