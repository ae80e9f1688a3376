// Any bytes through the cipher: what it did not make is refused, what it made comes back, and any change of it is refused.
#include "corekit/corekit.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t place = static_cast<std::size_t>(input.Byte()) * 256 + input.Byte();
  const std::uint8_t flip = input.Byte();
  const std::string bytes = input.Rest();
  std::string output = "old";
  REQUIRE(!corekit::KCryptWrap::decrypt_data(bytes, output) && output.empty());

  std::string sealed;
  REQUIRE(corekit::KCryptWrap::encrypt_data(bytes, sealed) && sealed.size() == bytes.size() + 32);
  REQUIRE(corekit::KCryptWrap::decrypt_data(sealed, output) && output == bytes);
  std::string changed = sealed;
  changed[place % changed.size()] = static_cast<char>(changed[place % changed.size()] ^ (flip | 1));
  REQUIRE(!corekit::KCryptWrap::decrypt_data(changed, output) && output.empty());
  REQUIRE(!corekit::KCryptWrap::decrypt_data(sealed.substr(0, place % sealed.size()), output));
  return 0;
}
