#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "corekit/corekit.h"
#include "support/system_aes.h"
#include "support/temp_folder.h"

namespace {

using corekit::KCryptWrap;

// A configuration of the host that removes every cipher from OpenSSL must not affect ours. It is
// set before the first use.
const TempFolder setupFolder;
std::string setup =
    "OPENSSL_CONF=" + setupFolder.Write("openssl.cnf",
                                        "openssl_conf=a\n[a]\nproviders=b\n[b]\nnull=c\n"
                                        "[c]\nactivate=1\n");
[[maybe_unused]] const int isSetUp = putenv(setup.data());

bool Refuses(std::string file) { return !KCryptWrap::decrypt_data(file, file) && file.empty(); }

TEST(CipherTest, DecryptsWhatItEncryptedOnlyIfWholeAndUnchanged) {
  if (!SystemHasAes()) GTEST_SKIP() << "the system has no AES";
  for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 70000U}) {
    const std::string plain(size, '\xE9');
    std::string first = plain, second;
    ASSERT_TRUE(KCryptWrap::encrypt_data(first, first) && KCryptWrap::encrypt_data(plain, second));
    EXPECT_NE(first.substr(12, 4), second.substr(12, 4)) << "a nonce must never come twice";
    for (std::size_t i = 0; i < std::min<std::size_t>(first.size(), 50); ++i) {
      second = first;
      second[i] = static_cast<char>(second[i] ^ 0x80);
      EXPECT_TRUE(Refuses(second) && Refuses(first.substr(0, i)) && Refuses(first.substr(i + 1)));
    }
    EXPECT_TRUE(Refuses(first + '\0'));
    EXPECT_TRUE(KCryptWrap::decrypt_data(first, first) && first == plain) << size;
  }
  EXPECT_TRUE(Refuses("<Root>a plain file that is long enough</Root>"));
}

// A file written by the first version on Windows; the command's test reads one from Linux. No other
// test may depend on the built-in key, because this one sets another key.
TEST(CipherTest, FilesAreReadableUnderTheirKeyAlone) {
  if (!SystemHasAes()) GTEST_SKIP() << "the system has no AES";
  std::string file(
      "\x54\x56\x4b\x31\x73\x14\xca\x4d\xe5\x2d\x18\x4a\xa2\x9e\x97\xf2\x81\x12\x7f\x34\x80\xde"
      "\x09\x4e\x7a\x93\x6a\x86\x0d\xc5\xd0\xfa\xb7\xb5\x61\x6c\xb1\x86\x8c\x54\xcf\x14\x62\x32"
      "\x80\x32\xa3\x9c\x84\x5d\xe7\x18\x62\x8e\x84\x16\x1f\x5a\x11\x7f\xed\x00\x39\xd5",
      64);
  EXPECT_TRUE(KCryptWrap::decrypt_data(file, file) && file == "<Root><Item>fixed</Item></Root>\n");

  ASSERT_TRUE(KCryptWrap::encrypt_data("text", file));
  corekit::SetCipherKey({1, 2, 3});
  CorekitSetCipherKey(nullptr); // changes nothing
  EXPECT_TRUE(Refuses(file));
  ASSERT_TRUE(KCryptWrap::encrypt_data("text", file) && KCryptWrap::decrypt_data(file, file));
  EXPECT_EQ(file, "text");
}

} // namespace
