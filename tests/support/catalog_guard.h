// Restores the host's built-in message catalogs and the message manager's default message
// objects when a test that changed them ends; with `removeAll` the test runs without any.
#pragma once

#include <tarnbase2/tarnbase2.h>

#include "ff_messages.h"

namespace fftest {

class CatalogGuard {
public:
    explicit CatalogGuard(bool removeAll = false) {
        for (const char* name : {"file_finder_common", "file_finder.climgr"})
            if (removeAll) tarnbase2::removeMessageCatalog(name);
    }
    ~CatalogGuard() {
        tarnbase2::restoreBuiltInMessageCatalogs();
        FF_2_13::initializeValidationMessages(FF_2_13::IMessageMgr::create());
    }
    CatalogGuard(const CatalogGuard&) = delete;
    CatalogGuard& operator=(const CatalogGuard&) = delete;
};

}  // namespace fftest
