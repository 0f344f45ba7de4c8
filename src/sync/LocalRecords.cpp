#include "sync/LocalRecords.h"

#include "store/entities/SNEvent.h"
#include "store/entities/SNInboxItem.h"

namespace sorn::sync {

using store::SNEvent;
using store::SNInboxItem;

void LocalRecords::run(StartFindings& /*findings*/) {
  for (const auto& event : context_.fetchRecords<SNEvent>(isAbsent(SNEvent::category))) {
    context_.deleteObject(*event);
  }
  for (const auto& item : context_.fetchRecords<SNInboxItem>(isAbsent(SNInboxItem::category))) {
    context_.deleteObject(*item);
  }
  context_.saveNowOrLater();
}

}  // namespace sorn::sync
