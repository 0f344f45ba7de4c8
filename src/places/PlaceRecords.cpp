#include "places/PlaceRecords.h"

#include "store/entities/SNPlace.h"
#include "store/entities/SNServerStatus.h"

namespace sorn::places {

using store::SNApplication;
using store::SNLocations;
using store::SNPlace;
using support::LogLevel;

store::Ref<SNLocations> PlaceRecords::locations() {
  return database_.currentApplication()->get(SNApplication::locations);
}

store::Ref<SNLocations> PlaceRecords::findOrCreateLocations() {
  const store::Ref<SNApplication> application = database_.currentApplication();
  auto locations =
      database_.context().findOrCreate<SNLocations>(store::assign(SNLocations::application, application));
  application->set(SNApplication::locations, locations);
  return locations;
}

void PlaceRecords::locationsUpdate(bool enabled) {
  database_.context().performBlockAndWait([&] {
    const auto locations = findOrCreateLocations();
    locations->set(SNLocations::enabled, enabled);
    store::SNServerStatus::findOrCreate(locations).setStatus(store::ServerStatusState::isFalse);
    database_.context().saveNowOrLater();
  });
}

bool PlaceRecords::isEnabled() {
  return database_.context().performBlockAndWait([this] {
    const auto locations = this->locations();
    return locations && locations->get(SNLocations::enabled);
  });
}

void PlaceRecords::savePlaces(const server::PublishedPlaces& published) {
  database_.context().performBlockAndWait([&] {
    const auto locations = findOrCreateLocations();
    if (locations->get(SNLocations::placesEtag) == published.etag) {
      logger_.log(LogLevel::info, "Etag is the same... Bailing out");
    } else if (published.timestamp < locations->get(SNLocations::timestamp)) {
      logger_.log(LogLevel::info, "Etag's timestamp is older than current... Bailing out");
    } else {
      logger_.log(LogLevel::info, "Attempting to save places...");
      replacePlaces(published, *locations);
    }
  });
}

void PlaceRecords::replacePlaces(const server::PublishedPlaces& published, SNLocations& locations) {
  store::ManagedObjectContext& context = database_.context();
  for (const auto& place : context.fetchRecords<SNPlace>()) context.deleteObject(*place);
  for (const documents::ActivePlace& active : published.places) {
    const auto place = context.insert<SNPlace>();
    place->set(SNPlace::placeID, active.placeID);
    place->set(SNPlace::latitude, active.lat);
    place->set(SNPlace::longitude, active.long_);
    place->set(SNPlace::radius, active.radius);
    place->set(SNPlace::direction, active.direction);
    place->set(SNPlace::application, database_.currentApplication());
  }
  locations.set(SNLocations::placesEtag, published.etag);
  locations.set(SNLocations::timestamp, published.timestamp);
  if (!context.save()) logger_.logDescription("The places could not be saved", support::Forced::no);
}

}  // namespace sorn::places
