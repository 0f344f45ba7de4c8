#include "sorn/platform/Deployment.h"

namespace sorn::platform {

Deployment::Deployment()
    : storageOrigin(SORN_STORAGE_ORIGIN), storageDomainPart(SORN_STORAGE_DOMAIN), logLabel(SORN_LOG_LABEL) {}

}  // namespace sorn::platform
