#include "server/PublishedFiles.h"
#include "server/ServerFixture.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::server {

namespace {

using platform::HttpResponse;
using platform::HttpTransport;
using platform::TransportError;

constexpr const char* lastAttempt = "kSORN_LAST_ACTIVE_PLACES";
constexpr double start = 1'700'000'000;  // what the fake clock shows
constexpr const char* onePlace = "[[7,13405000,52520000,150,3]]";
constexpr const char* oneCampaign =
    R"([{"id":"a","version":{"android":1,"ios":1},"audience":"all","content":{"viewType":"row","children":[]},
         "content_metadata":{"type":"dialog","background_color":"#FFF","show_close_button":true,
                             "dismissable_on_tap":true}}])";

}  // namespace

class PublishedFilesTest : public ServerFixture, public PlaceSave {
 protected:
  PublishedFilesTest() {
    deployment_.storageOrigin = "https://storage.test";
    deployment_.storageDomainPart = ".files.test";
  }

  PublishedFiles& files() {
    if (!files_) {
      files_ = std::make_unique<PublishedFiles>(library().account(), deployment_, *host_.defaults,
                                                *host_.clock, library().tasks(), library().logger(), *this);
    }
    return *files_;
  }
  void answerWith(const HttpTransport::Result& result) {
    library();
    host_.transport->setHandler([result](const auto&) { return result; });
  }
  // What the campaigns' fetch gives: identifiers, or the kind of failure.
  std::string fetchCampaigns() {
    std::promise<std::string> outcome;
    files().fetchCampaigns([&](const PublishedFiles::CampaignsResult& result) {
      EXPECT_TRUE(library().tasks().isCurrent());
      outcome.set_value(describe(result));
    });
    return outcome.get_future().get();
  }
  static std::string describe(const PublishedFiles::CampaignsResult& result) {
    if (result) {
      std::string ids;
      for (const auto& campaign : *result) ids += campaign.id;
      return "[" + ids + "]";
    }
    const auto& error = result.error();
    if (const auto* own = std::get_if<SornError>(&error)) {
      return own->code() == SornError::Code::invalidInAppCampaignData ? "invalid data" : "another error";
    }
    if (const auto* transport = std::get_if<PlatformError>(&error)) return std::to_string(transport->code);
    return "not decodable";
  }
  // What has been handed on for saving: "etag timestamp number-of-places", or "nothing". Returns when the
  // completion has run, which it does once.
  std::string fetchPlaces() {
    saved_ = "nothing";
    std::promise<void> completed;
    files().fetchActivePlaces([&] {
      EXPECT_TRUE(library().tasks().isCurrent());
      completed.set_value();
    });
    completed.get_future().get();
    return saved_;
  }
  void savePlaces(const PublishedPlaces& published) override {
    saved_ = published.etag + " " + std::to_string(published.timestamp) + " " +
             std::to_string(published.places.size());
  }
  std::optional<double> attempted() const {
    const auto date = host_.defaults->object(lastAttempt);
    return date ? std::optional(secondsSince1970(*date->as<Date>())) : std::nullopt;
  }
  std::size_t requestCount() const { return host_.transport->requests().size(); }

  platform::Deployment deployment_;
  std::unique_ptr<PublishedFiles> files_;
  std::string saved_;
};

TEST_F(PublishedFilesTest, ObjectsAreNamedAfterTheFirstLabelAndTheKey) {
  const std::pair<const char*, const char*> cases[] = {{"http://a.b.c/endpoints/v2/", "a"},
                                                       {"https://alone:8443/", "alone"},
                                                       {"http://.x..y/", "x"},
                                                       {"http://127.0.0.1:80/", "127"},
                                                       {"http://user:p@acme.test/", "acme"}};
  for (const auto& [base, bucket] : cases) {
    host_.credentials.baseURL = base;
    library().account().set(host_.credentials);
    answerWith(TransportError{TransportError::timedOut});
    host_.defaults->remove(lastAttempt);
    EXPECT_EQ(fetchCampaigns(), "-1001");
    EXPECT_EQ(fetchPlaces(), "nothing");
    const auto requests = host_.transport->requests();
    ASSERT_GE(requests.size(), 2u);
    const std::string folder = std::string("https://storage.test/") + bucket + ".files.test";
    EXPECT_EQ(requests[requests.size() - 2].url, folder + "/inapp/public/key/active.json.gz") << base;
    EXPECT_EQ(requests.back().url, folder + "/places/key/active_places.json.gz") << base;
    EXPECT_EQ(requests.back().method, "GET");
    EXPECT_TRUE(requests.back().headers.empty()) << "nothing is signed";
    EXPECT_EQ(requests.back().idleTimeout.count(), 60);
  }
}

TEST_F(PublishedFilesTest, NothingIsFetchedWithoutAUsableAddress) {
  library_ = host_.install();
  EXPECT_EQ(fetchCampaigns(), "invalid data");
  EXPECT_EQ(fetchPlaces(), "nothing");
  for (const char* base : {"", "endpoints/v2", "http:///path", "mailto:a.b@c"}) {
    host_.credentials.baseURL = base;
    library().account().set(host_.credentials);
    host_.defaults->remove(lastAttempt);
    EXPECT_EQ(fetchCampaigns(), "invalid data") << base;
    EXPECT_EQ(fetchPlaces(), "nothing") << base;
    EXPECT_EQ(attempted(), start) << "the attempt counts";
  }
  EXPECT_EQ(requestCount(), 0u);
}

TEST_F(PublishedFilesTest, CampaignsAreDecodedWhateverTheStatusSays) {
  const std::pair<HttpTransport::Result, const char*> cases[] = {
      {HttpResponse{200, {}, oneCampaign}, "[a]"},
      {HttpResponse{404, {}, oneCampaign}, "[a]"},
      {HttpResponse{404, {}, "<?xml version='1.0'?><Error><Code>NoSuchKey</Code></Error>"}, "not decodable"},
      {HttpResponse{503, {}, ""}, "not decodable"},
      {HttpResponse{200, {}, std::string(oneCampaign).substr(0, 60)}, "not decodable"},
      {TransportError{TransportError::cannotConnect}, "-1004"},
  };
  for (const auto& [result, expected] : cases) {
    answerWith(result);
    EXPECT_EQ(fetchCampaigns(), expected);
  }
  EXPECT_EQ(requestCount(), std::size(cases)) << "no limit to the rate";
}

TEST_F(PublishedFilesTest, PlacesAreSavedOnlyWithAllThatBelongsToThem) {
  const auto places = [](std::vector<std::pair<std::string, std::string>> headers,
                         std::string body = onePlace) {
    return HttpResponse{200, std::move(headers), std::move(body)};
  };
  const std::pair<HttpTransport::Result, const char*> cases[] = {
      {places({{"Etag", "\"e1\""}, {"x-goog-meta-timestamp", "1690000000"}}), "\"e1\" 1690000000 1"},
      {places({{"ETAG", "e"}, {"X-Goog-Meta-Timestamp", "-5"}}), "e -5 1"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", "+9223372036854775807"}}), "e 9223372036854775807 1"},
      {places({{"etag", "e"}}), "e 0 1"},
      {places({{"etag", ""}}, "[]"), " 0 0"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", ""}}), "nothing"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", "12.0"}}), "nothing"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", " 12"}}), "nothing"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", "+-12"}}), "nothing"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", "+"}}), "nothing"},
      {places({{"etag", "e"}, {"x-goog-meta-timestamp", "9223372036854775808"}}), "nothing"},
      {places({{"x-goog-meta-timestamp", "12"}}), "nothing"},
      {places({{"etag", "e"}}, ""), "nothing"},
      {places({{"etag", "e"}}, "[[7,13405000,52520000,150]]"), "nothing"},
      {places({{"etag", "e"}}, "[[7,13405000,52520000,150,3],[7]]"), "nothing"},
      {HttpResponse{404, {{"etag", "e"}}, "<?xml version='1.0'?><Error/>"}, "nothing"},
      {HttpResponse{500, {{"etag", "e"}}, onePlace}, "e 0 1"},
      {TransportError{TransportError::connectionLost}, "nothing"},
  };
  std::size_t at = 0;
  for (const auto& [result, expected] : cases) {
    answerWith(result);
    host_.defaults->remove(lastAttempt);
    EXPECT_EQ(fetchPlaces(), expected) << "case " << at++;
    EXPECT_EQ(attempted(), start);
  }
}

TEST_F(PublishedFilesTest, PlacesAreAskedForOnceAnHourWhicheverWayTheClockWent) {
  const std::pair<std::optional<double>, bool> cases[] = {{std::nullopt, true}, {0, false},  {3599.5, false},
                                                          {3600, true},         {1e7, true}, {-3599.5, false},
                                                          {-3600, true},        {-1e7, true}};
  for (const auto& [sinceLast, asks] : cases) {
    answerWith(HttpResponse{200, {{"etag", "e"}}, onePlace});
    host_.defaults->remove(lastAttempt);
    if (sinceLast) host_.defaults->set(lastAttempt, dateSince1970(start - *sinceLast));
    const std::size_t before = requestCount();
    EXPECT_EQ(fetchPlaces(), asks ? "e 0 1" : "nothing") << sinceLast.value_or(0);
    EXPECT_EQ(requestCount() - before, asks ? 1u : 0u) << sinceLast.value_or(0);
    EXPECT_EQ(attempted(), asks ? start : start - *sinceLast);
  }
  host_.defaults->set(lastAttempt, std::string("yesterday"));
  EXPECT_EQ(fetchPlaces(), "e 0 1") << "what is no date counts as none";
}

TEST_F(PublishedFilesTest, FailedAttemptCountsForTheHourFromItsBeginning) {
  std::promise<void> completed;
  library();
  host_.transport->setHandler([](const auto&) { return std::nullopt; });
  files().fetchActivePlaces([&] { completed.set_value(); });
  ASSERT_TRUE(tests::becomesTrue([&] { return host_.transport->openCount() == 1; }));
  EXPECT_EQ(attempted(), start) << "noted before the answer";
  EXPECT_EQ(fetchPlaces(), "nothing");
  host_.transport->answer(1, TransportError{TransportError::timedOut});
  completed.get_future().get();
  answerWith(HttpResponse{200, {{"etag", "e"}}, onePlace});
  host_.clock->advance(3599);
  EXPECT_EQ(fetchPlaces(), "nothing");
  host_.clock->advance(1);
  EXPECT_EQ(fetchPlaces(), "e 0 1");
  EXPECT_EQ(requestCount(), 2u);
}

TEST_F(PublishedFilesTest, PackedFilesComeOverARealConnection) {
  emulator::Emulator service({.accounts = {{"key", "secret"}}});
  deployment_.storageOrigin = service.origin();
  host_.usesNetwork = true;
  EXPECT_EQ(fetchCampaigns(), "not decodable") << "nothing is published yet";
  service.publishCampaigns(oneCampaign);
  service.publishPlaces(onePlace, "\"tag\"", "1690000000");
  EXPECT_EQ(fetchCampaigns(), "[a]");
  EXPECT_EQ(fetchPlaces(), "\"tag\" 1690000000 1");
  const auto requests = service.requests();
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_EQ(requests[1].path, "/service.files.test/inapp/public/key/active.json.gz");
  EXPECT_EQ(requests[2].path, "/service.files.test/places/key/active_places.json.gz");
  EXPECT_EQ(requests[2].signature, "absent");
  service.stop();
  EXPECT_EQ(fetchCampaigns(), "-1004");
}

}  // namespace sorn::server
