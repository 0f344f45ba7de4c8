#pragma once

#include "places/PlaceRecords.h"
#include "server/ConfigurationStore.h"
#include "server/PublishedFiles.h"
#include "sync/StartStep.h"

namespace sorn::places {

// Gets the published places at a start where the host and the account want them.
class PlacesStep final : public sync::StartStep {
 public:
  PlacesStep(PlaceRecords& records, server::ConfigurationStore& configuration,
             server::PublishedFiles& published, support::Logger& logger)
      : records_(records), configuration_(configuration), published_(published), logger_(logger) {}

  void run(sync::StartFindings& findings) override;

 private:
  PlaceRecords& records_;
  server::ConfigurationStore& configuration_;
  server::PublishedFiles& published_;
  support::Logger& logger_;
};

}  // namespace sorn::places
