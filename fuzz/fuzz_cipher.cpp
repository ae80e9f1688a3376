// Any bytes through the cipher: what it did not make is refused, what it made comes back, and any change of it is refused.
#include "corekit/corekit.h"
#include "harness.h"

using corekit::KCryptWrap;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t place = input.Byte() * std::size_t{256} + input.Byte();
  const std::uint8_t flip = input.Byte() | 1;
  const std::string bytes = input.Rest();
  std::string output = "old", sealed;
  REQUIRE(!KCryptWrap::decrypt_data(bytes, output) && output.empty());

  REQUIRE(KCryptWrap::encrypt_data(bytes, sealed) && sealed.size() == bytes.size() + 32);
  REQUIRE(KCryptWrap::decrypt_data(sealed, output) && output == bytes);
  REQUIRE(!KCryptWrap::decrypt_data(sealed.substr(0, place % sealed.size()), output));
  sealed[place % sealed.size()] = static_cast<char>(sealed[place % sealed.size()] ^ flip);
  REQUIRE(!KCryptWrap::decrypt_data(sealed, output) && output.empty());
  return 0;
}
