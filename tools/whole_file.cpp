// The commands for whole files: `check`, and `encrypt` and `decrypt`, which rewrite a file byte for
// byte.
#include <corekit/corekit.h>

#include <algorithm>
#include <unordered_set>

#include "input_output.h"
#include "system.h"

namespace {

// Adds a member to the results unless the file cannot be read.
ExitStatus CheckOne(const std::string& file, const Options& options, Json::object_t& results) {
  Json result = {{"wellFormed", true}, {"line", 0}, {"column", 0}, {"reason", ""}};
  try {
    ReadDocument(file, options);
  } catch (const std::exception& failure) {
    PrintMessage(file, failure);
    const auto* const damage = dynamic_cast<const Ostrum::ReadFailure*>(&failure);
    if (damage == nullptr || damage->result != Ostrum::ReadBadEncoding) return ExitStatus::Failed;
    result = {{"wellFormed", false},
              {"line", damage->line},
              {"column", damage->column},
              {"reason", damage->what()}};
  }
  const bool isWellFormed = result["wellFormed"];
  results.emplace_back(Shown(file), std::move(result));
  return isWellFormed ? ExitStatus::Found : ExitStatus::NothingFound;
}

bool EncryptBytes(const std::string& plain, std::string& encrypted) {
  if (IsEncrypted(plain)) throw std::runtime_error("is encrypted already");
  if (corekit::KCryptWrap::encrypt_data(plain, encrypted)) return true;
  throw std::runtime_error("cannot be encrypted");
}

bool DecryptBytes(const std::string& encrypted, std::string& plain) {
  if (!IsEncrypted(encrypted)) throw std::runtime_error("is not encrypted");
  if (corekit::KCryptWrap::decrypt_data(encrypted, plain)) return true;
  throw std::runtime_error("is damaged or encrypted with another key");
}

ExitStatus Rewrite(const Options& options, Ostrum::ByteFilter convert) {
  if (options.file == "-") {
    std::string converted;
    convert(ReadBytes(options.file), converted);
    PrintBytes(converted);
    return ExitStatus::Found;
  }
  if (IsStream(options.file))
    throw std::runtime_error("is a pipe or a device, which cannot be rewritten");
  console::HoldSignals(true);
  Ostrum::RewriteFile(console::FileNameOf(options.file), convert);
  return ExitStatus::Found;
}

} // namespace

ExitStatus Check(const Options& options) {
  Json::object_t results;
  std::unordered_set checked{options.file}; // standard input cannot be read again
  ExitStatus status = CheckOne(options.file, options, results);
  for (const std::string& file : options.arguments) {
    if (checked.insert(file).second) status = std::max(status, CheckOne(file, options, results));
  }
  if (options.json) PrintJson(Json(std::move(results)));
  return status;
}

ExitStatus Encrypt(const Options& options) { return Rewrite(options, EncryptBytes); }

ExitStatus Decrypt(const Options& options) { return Rewrite(options, DecryptBytes); }
