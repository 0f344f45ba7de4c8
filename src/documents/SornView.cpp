#include "documents/SornView.h"

#include "documents/SornViewDescription.h"
#include "support/Logger.h"
#include "support/json/Json.h"

namespace sorn::documents {

namespace {

std::string orDash(const std::optional<std::string>& text) { return text.value_or("-"); }

std::optional<support::Url> urlOf(const std::optional<std::string>& text, support::Logger& logger) {
  std::optional<support::Url> url = text ? support::Url::parse(*text) : std::nullopt;
  if (!url) {
    logger.log(support::LogLevel::info, [&] { return "Could not extract URL from string: " + orDash(text); });
  }
  return url;
}

std::optional<Dictionary> dictionaryOf(const std::optional<std::string>& text, support::Logger& logger) {
  const auto document = support::Document::parse(text.value_or(""));
  if (document && document->root().isObject()) return *document->root().toValue().as<Dictionary>();
  logger.log(support::LogLevel::info,
             [&] { return "Could not deserialize JSON from string: " + orDash(text); });
  return std::nullopt;
}

}  // namespace

std::optional<ButtonAction::QualifiedAction> ButtonAction::qualifiedAction(support::Logger& logger) const {
  switch (type) {
    case Type::url:
      if (auto url = urlOf(value.ios, logger)) return OpenUrl{*std::move(url)};
      return std::nullopt;
    case Type::deeplink:
      if (auto url = urlOf(value.ios, logger)) return OpenDeeplink{*std::move(url)};
      return std::nullopt;
    case Type::custom:
      if (auto dictionary = dictionaryOf(value.ios, logger)) return Custom{*std::move(dictionary)};
      return std::nullopt;
    case Type::no_action:
      return NoAction{};
    case Type::app_review:
      return AppReview{};
    case Type::push_prompt:
      return PushPrompt{};
  }
  return std::nullopt;
}

std::string ButtonAction::description() const {
  const std::string_view typeText = Description<Type>::texts[static_cast<std::size_t>(type)];
  return "Type: " + std::string(typeText) + "\nName: " + eventName + "\nValue: " + value.ios.value_or("n/a");
}

}  // namespace sorn::documents
