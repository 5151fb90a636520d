// File: courlet2/messenger.h
//
// The host's messenger: the channel through which a host shows messages to its user.
// The file finder stores a messenger per context and hands it on to the host's own
// components; it never calls it. The host owns every messenger.
#pragma once

namespace courlet2 {

class __attribute__((visibility("default"))) IMessenger {
public:
    virtual ~IMessenger() {}
};

}  // namespace courlet2
