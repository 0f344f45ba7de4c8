#include "facade/Diagnostics.h"

#include <future>
#include <tuple>

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
      std::ignore = context.scan(*entity, {}, [&](const store::RowView& row) {
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
  library_.services().presentation.setObserver(
      [presented = std::move(presented)](const documents::SornInAppCampaign& campaign) {
        presented(campaign.id);
      });
}

void Diagnostics::waitUntilIdle() {
  // Each kind of thread may give work to the others: a task's block on the store's queue may select a
  // campaign, which is presented on the main queue, where the host may log an event, which selects the next
  // one.
  do {
    library_.tasks().waitUntilIdle();
    waitForStore();
    for (int pass = 0; pass < 2; ++pass) {
      waitForMainQueue();
      waitForStore();
    }
  } while (!library_.tasks().isIdle());
}

void Diagnostics::waitForStore() {
  library_.context().performBlockAndWait([] {});
}

void Diagnostics::waitForMainQueue() {
  std::promise<void> mainQueueRan;
  // Delayed by nothing, so as to stand behind what is due as well as behind what is not delayed at all.
  library_.ports().mainQueue->postAfter(std::chrono::duration<double>::zero(),
                                        [&] { mainQueueRan.set_value(); });
  mainQueueRan.get_future().wait();
}

std::optional<double> Diagnostics::secondsToNextTimer() {
  const auto seconds = library_.tasks().untilNextTimer();
  return seconds ? std::optional(seconds->count()) : std::nullopt;
}

}  // namespace sorn::facade
