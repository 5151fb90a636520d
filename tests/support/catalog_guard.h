// Restores the host's built-in message catalogs and the message manager's default message
// objects when a test that changed them ends.
#pragma once

#include <tarnbase2/tarnbase2.h>

#include "ff_messages.h"

namespace fftest {

class CatalogGuard {
public:
    /// With `removeAll`, the test runs without any message catalog.
    explicit CatalogGuard(bool removeAll = false) {
        if (removeAll) {
            tarnbase2::removeMessageCatalog("file_finder_common");
            tarnbase2::removeMessageCatalog("file_finder.climgr");
        }
    }
    ~CatalogGuard() {
        tarnbase2::restoreBuiltInMessageCatalogs();
        FF_2_13::initializeValidationMessages(FF_2_13::IMessageMgr::create());
    }
    CatalogGuard(const CatalogGuard&) = delete;
    CatalogGuard& operator=(const CatalogGuard&) = delete;
};

}  // namespace fftest
