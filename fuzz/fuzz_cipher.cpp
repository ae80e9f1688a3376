// Any bytes through the cipher: what it did not make is refused, what it made comes back, and any change of it is refused.
#include "corekit/corekit.h"
#include "harness.h"

using corekit::KCryptWrap;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto flip = input.ConsumeIntegralInRange<char>(1, 127);
  std::size_t place = input.ConsumeIntegral<std::uint16_t>();
  const std::string bytes = input.ConsumeRemainingBytesAsString();
  std::string output = "old", sealed;
  REQUIRE(!KCryptWrap::decrypt_data(bytes, output) && output.empty());

  REQUIRE(KCryptWrap::encrypt_data(bytes, sealed) && sealed.size() == bytes.size() + 32);
  REQUIRE(KCryptWrap::decrypt_data(sealed, output) && output == bytes);
  place %= sealed.size();
  REQUIRE(!KCryptWrap::decrypt_data(sealed.substr(0, place), output));
  sealed[place] = static_cast<char>(sealed[place] ^ flip);
  REQUIRE(!KCryptWrap::decrypt_data(sealed, output) && output.empty());
  return 0;
}
