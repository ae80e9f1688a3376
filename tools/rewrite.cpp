// The commands `encrypt` and `decrypt`, which rewrite a file byte for byte.
#include <corekit/corekit.h>

#include "commands.h"
#include "input.h"
#include "output.h"
#include "system.h"

namespace {

bool EncryptBytes(const std::string& plain, std::string& encrypted) {
  if (IsEncrypted(plain)) throw CommandError("is encrypted already");
  if (corekit::KCryptWrap::encrypt_data(plain, encrypted)) return true;
  throw CommandError("cannot be encrypted");
}

bool DecryptBytes(const std::string& encrypted, std::string& plain) {
  if (!IsEncrypted(encrypted)) throw CommandError("is not encrypted");
  if (corekit::KCryptWrap::decrypt_data(encrypted, plain)) return true;
  throw CommandError("is damaged or encrypted with another key");
}

ExitStatus Rewrite(const Options& options, Ostrum::ByteFilter convert) {
  if (options.file == "-") {
    std::string converted;
    convert(ReadBytes(options.file), converted);
    PrintBytes(converted);
    return ExitStatus::Found;
  }
  if (IsStream(options.file)) throw CommandError("is a pipe, which cannot be rewritten");
  console::HoldSignals(true);
  Ostrum::RewriteFile(console::FileNameOf(options.file), convert);
  return ExitStatus::Found;
}

} // namespace

ExitStatus Encrypt(const Options& options) { return Rewrite(options, EncryptBytes); }

ExitStatus Decrypt(const Options& options) { return Rewrite(options, DecryptBytes); }
