#pragma once

#include "server/PublishedFiles.h"
#include "store/DBManager.h"
#include "store/entities/SNLocations.h"
#include "support/Logger.h"

namespace sorn::places {

// The places of the application's account, and whether the host wants them watched. Any thread.
class PlaceRecords final : public server::PlaceSave {
 public:
  PlaceRecords(store::DBManager& database, support::Logger& logger) : database_(database), logger_(logger) {}

  // The service is to be told.
  void locationsUpdate(bool enabled);
  bool isEnabled();
  // Null without any. On the store's queue.
  store::Ref<store::SNLocations> locations();

  // Puts the published list in the place of the stored one, unless it is the same file or an older one.
  void savePlaces(const server::PublishedPlaces& published) override;

 private:
  store::Ref<store::SNLocations> findOrCreateLocations();
  void replacePlaces(const server::PublishedPlaces& published, store::SNLocations& locations);

  store::DBManager& database_;
  support::Logger& logger_;
};

}  // namespace sorn::places
