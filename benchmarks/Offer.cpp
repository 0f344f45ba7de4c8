#include "Offer.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace sorn::bench {

namespace {

std::string number(int value) { return std::to_string(value); }

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string base64(std::string_view bytes) {
  static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    for (std::size_t i = 0; i < 4; ++i)
      text += at + i <= bytes.size() ? digits[group >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

std::string textNode(const OfferText& text) {
  return R"({"viewType":"text","textData":{"text":)" + quoted(text.text) + R"(,"fontSize":)" +
         number(text.size) + R"(,"fontWeight":)" + quoted(text.weightName) + R"(,"color":)" +
         quoted(text.color) + R"(,"softWrap":true},"width":-1,"padding":[)" + number(offerMargin) + "," +
         number(offerGap) + "," + number(offerMargin) + R"(,0],"children":[]})";
}

}  // namespace

std::string offerCampaign(const std::string& pictureUrl) {
  std::string children = R"({"viewType":"image","imageData":{"url":)" + quoted(pictureUrl) +
                         R"(,"contentMode":"crop"},"width":-1,"height":)" + number(offerHeroHeight) +
                         R"(,"children":[]})";
  for (const OfferText& text : offerTexts) children += "," + textNode(text);
  children += R"(,{"viewType":"column","isSpacer":true,"children":[]})";
  children += R"(,{"viewType":"button","textData":{"text":)" + quoted(offerLabel) +
              R"(,"color":"#FFFFFF","fontSize":)" + number(offerLabelSize) +
              R"(,"fontWeight":"semiBold","softWrap":false},"background":)" +
              R"({"backgroundType":"color","color":)" + quoted(offerButton) + R"(},"cornerRadius":[)" +
              number(offerButtonRadius) + "," + number(offerButtonRadius) + "," + number(offerButtonRadius) +
              "," + number(offerButtonRadius) + R"(],"width":-1,"height":)" + number(offerButtonHeight) +
              R"(,"padding":[)" + number(offerMargin) + ",0," + number(offerMargin) + "," +
              number(offerMargin) + R"(],"children":[]})";
  return R"([{"id":"offer","version":{"android":1,"ios":1},"audience":"all","content":{"viewType":"column",)"
         R"("background":{"backgroundType":"gradient","gradientData":{"gradientColors":[)" +
         quoted(offerTop) + "," + quoted(offerBottom) +
         R"(],"gradientType":"vertical","tileMode":"clamp"}},"width":-1,"height":-1,"children":[)" +
         children +
         R"(]},"content_metadata":{"type":"fullscreen","background_color":"#FFFFFF","show_close_button":false,)"
         R"("dismissable_on_tap":false}}])";
}

std::string offerPage(const std::string& pictureBytes) {
  std::string body = "<img src='data:image/png;base64," + base64(pictureBytes) + "'>";
  for (const OfferText& text : offerTexts)
    body += "<p style='font-size:" + number(text.size) + "px;font-weight:" + number(text.weight) +
            ";color:" + text.color + "'>" + text.text + "</p>";
  body += std::string("<div class=space></div><div class=button>") + offerLabel + "</div>";
  return std::string("<!doctype html><html><head><style>") + "body{margin:0;height:100vh;display:flex;" +
         "flex-direction:column;font-family:" + offerFamily + ";background:linear-gradient(" + offerTop +
         "," + offerBottom + ")}img{width:100%;height:" + number(offerHeroHeight) +
         "px;object-fit:cover;flex:none}p{margin:" + number(offerGap) + "px " + number(offerMargin) +
         "px 0}.space{flex:1}.button{margin:0 " + number(offerMargin) + "px " + number(offerMargin) +
         "px;height:" + number(offerButtonHeight) + "px;line-height:" + number(offerButtonHeight) +
         "px;border-radius:" + number(offerButtonRadius) + "px;background:" + offerButton +
         ";color:#fff;text-align:center;font-size:" + number(offerLabelSize) +
         "px;font-weight:600}</style></head><body>" + body +
         "<script>onload=()=>requestAnimationFrame(()=>requestAnimationFrame(()=>" +
         "webkit.messageHandlers.drawn.postMessage('drawn')))</script></body></html>";
}

std::string offerPicture() {
  std::ifstream stream(SORN_SAMPLE_PICTURE, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (bytes.empty()) throw std::runtime_error("no sample picture");
  return bytes;
}

}  // namespace sorn::bench
