#include "host/ostrumxml/data/keyed_hash.h"

#include "platform/platform.h"

namespace Ostrum {

KeyedHash::KeyedHash() noexcept {
  // Without a random source the address stays, which is still hard to guess.
  std::uint64_t key[2] = {reinterpret_cast<std::uintptr_t>(this)};
  platform::FillRandom(key, sizeof key);
  key0 = key[0];
  key1 = key[1];
}

} // namespace Ostrum
