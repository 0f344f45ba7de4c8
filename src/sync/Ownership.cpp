#include "sync/Ownership.h"

namespace sorn::sync {

using store::SNApplication;
using store::SNUser;

bool belongsToApplication(store::DBManager& database, std::optional<std::int64_t> device,
                          std::optional<std::int64_t> user) {
  const store::Ref<SNApplication> application = database.currentApplication();
  if (device && device == application->reference(SNApplication::device)) return true;
  if (!user) return false;
  const auto owner = database.context().object(SNUser::entity(), *user);
  return owner && static_cast<const SNUser&>(*owner).reference(SNUser::application) == application->rowID();
}

}  // namespace sorn::sync
