// Stores long lists of campaigns in turn until it is killed: `campaign-store-loop FOLDER`. Says so in one
// line after the first.

#include <cstdio>
#include <string>

#include "campaigns/Samples.h"
#include "facade/Library.h"
#include "host/HeadlessPlatform.h"
#include "host/HostBundle.h"

namespace {

// A list whose text is some megabytes long, so that most of the time goes into writing it.
sorn::documents::Campaigns longList(const std::string& name, std::size_t count) {
  sorn::documents::Campaigns campaigns(count, sorn::campaigns::campaignOf(name, ""));
  const std::string filling(100'000, name.front());
  for (auto& campaign : campaigns) campaign.extra_data.emplace()["filling"] = filling;
  return campaigns;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  auto bundle = std::make_shared<sorn::host::HostBundle>();
  bundle->setIdentifier("store-loop");
  sorn::platform::Platform ports;
  ports.bundle = std::move(bundle);
  sorn::host::fillHeadless(ports, sorn::host::XdgHomes::below(arguments[1]));
  sorn::facade::Library library(std::move(ports));
  library.account().set({"key", "secret", "", "http://127.0.0.1:9/"});
  const auto first = longList("first", 15);
  const auto second = longList("second", 10);
  for (bool isReady = false;; isReady = true) {
    library.services().campaigns.storeCampaigns(first);
    if (!isReady) std::puts("ready");
    std::fflush(stdout);
    library.services().campaigns.storeCampaigns(second);
  }
}
