// Markup replacement.
#include "host/platform/BpMarkup.h"

void BpMarkup::replaceMarkupText(std::string& text, const std::string& open,
                                 const std::string& close, BpMarkupType type) {
  const char* openTag = nullptr;
  const char* closeTag = nullptr;
  switch (type) {
    case Superscript:
      openTag = "<sup>";
      closeTag = "</sup>";
      break;
    case Subscript:
      openTag = "<sub>";
      closeTag = "</sub>";
      break;
  }
  if (openTag == nullptr || text.find('<') == std::string::npos)
    return;
  const std::string openText(openTag);
  const std::string closeText(closeTag);
  std::string result;
  result.reserve(text.size());
  std::size_t from = 0;
  for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
    if (text.compare(at, openText.size(), openText) == 0) {
      result.append(text, from, at - from).append(open);
      at += openText.size();
      from = at;
    } else if (text.compare(at, closeText.size(), closeText) == 0) {
      result.append(text, from, at - from).append(close);
      at += closeText.size();
      from = at;
    } else {
      ++at;
    }
  }
  result.append(text, from, std::string::npos);
  text.swap(result);
}
