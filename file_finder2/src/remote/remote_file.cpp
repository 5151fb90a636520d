// The answer of one fetch of a remote source.
#include <string>

#include "ff_remote_source.h"

namespace FF_2_13 {

namespace {

class RemoteFile : public RefCountImpl<IRemoteFile> {
public:
    RemoteFile(std::string path, std::string origin, std::string reason)
        : m_path(std::move(path)), m_origin(std::move(origin)), m_reason(std::move(reason)) {}

    const char* path() const override { return m_path.c_str(); }
    const char* origin() const override { return m_origin.c_str(); }
    const char* reason() const override { return m_reason.c_str(); }

private:
    const std::string m_path;
    const std::string m_origin;
    const std::string m_reason;
};

}  // namespace

ObjectPtr<IRemoteFile> IRemoteFile::found(const char* path, const char* origin) {
    return ObjectPtr<IRemoteFile>(new RemoteFile(path ? path : "", origin ? origin : "", ""));
}

ObjectPtr<IRemoteFile> IRemoteFile::missed(const char* reason) {
    // A miss always says why, even when its source did not.
    const std::string why = reason && *reason ? reason : "no reason given";
    return ObjectPtr<IRemoteFile>(new RemoteFile("", "", why));
}

}  // namespace FF_2_13
