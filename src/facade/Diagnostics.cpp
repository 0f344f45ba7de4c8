#include "facade/Diagnostics.h"

#include <future>

#include "facade/Library.h"

namespace sorn::facade {

Diagnostics::Diagnostics(Sorn& sorn) : library_(Library::of(sorn)) {}

bool Diagnostics::didStart() const { return library_.state().didStart; }

SornMode Diagnostics::mode() const { return library_.state().mode; }

std::map<std::string, StatusCounts> Diagnostics::recordCounts() {
  std::map<std::string, StatusCounts> counts;
  store::ManagedObjectContext& context = library_.context();
  context.performBlockAndWait([&] {
    for (const store::EntityDescription* entity : store::allEntities()) {
      context.scan(*entity, {}, [&](const store::RowView& row) {
        StatusCounts& count = counts[std::string(entity->name)];
        const std::size_t column = entity->statusColumn;
        if (column == store::EntityDescription::noStatus || row.integerAt(column) != 1) {
          ++count.without;
        } else {
          const std::int64_t status = row.isAbsentAt(column + 1) ? -1 : row.integerAt(column + 1);
          ++(status == 0 ? count.pending : status == 1 ? count.isTrue : count.isFalse);
        }
        return true;
      });
    }
  });
  return counts;
}

void Diagnostics::onPresented(std::function<void(const std::string&)> presented) {
  library_.setPresenter([presented = std::move(presented)](const documents::SornInAppCampaign& campaign) {
    presented(campaign.id);
  });
}

void Diagnostics::waitUntilIdle() {
  // Each kind of thread may give work to the others, so all must be found idle one after another.
  do {
    library_.tasks().waitUntilIdle();
    std::promise<void> mainQueueRan;
    library_.ports().mainQueue->post([&] { mainQueueRan.set_value(); });
    mainQueueRan.get_future().wait();
    library_.context().performBlockAndWait([] {});
  } while (!library_.tasks().isIdle());
}

std::optional<double> Diagnostics::secondsToNextTimer() {
  const auto seconds = library_.tasks().untilNextTimer();
  return seconds ? std::optional(seconds->count()) : std::nullopt;
}

}  // namespace sorn::facade
