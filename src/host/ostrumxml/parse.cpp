#include "host/ostrumxml/parse.h"

#include <memory>

#include "corekit/corekit.h"
#include "host/ostrumxml/content.h"
#include "host/ostrumxml/indexer.h"
#include "host/ostrumxml/utf8.h"

namespace Ostrum {
namespace {

void Log(const ParseFailure& failure) noexcept {
  if (!corekit::LogIsOn()) return;
  corekit::KString line(L"");
  line << static_cast<long>(failure.line) << L":" << static_cast<long>(failure.column) << L": " << failure.reason;
  corekit::logDetail(L"ostrumxml", line);
}

std::string TakeFirst(DocumentText& text, std::size_t length) {
  if (length >= text.Length()) return text.TakeUtf8();
  return std::string(FirstWideCharacters(text.Utf8(), length));
}

} // namespace

Document* ParseXML(DocumentText text, int length, PARSER_ERROR& error, int& line, int& column) {
  auto content = std::make_unique<Content>(TakeFirst(text, length < 0 ? 0 : static_cast<std::size_t>(length)));
  ParseFailure failure;
  if (Indexer(*content).Run(failure)) return new Document(std::move(content));
  error = failure.error;
  line = failure.line;
  column = failure.column;
  Log(failure);
  return nullptr;
}

} // namespace Ostrum
