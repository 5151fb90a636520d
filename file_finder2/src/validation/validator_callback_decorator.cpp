// The built-in file-system checks in front of the client's validation callback.
#include "validation/validator_callback_decorator.h"

#include "validation/message_mgr.h"
#include "platform/posix.h"

namespace FF_2_13 {

namespace {

template <class Message>
std::string filledOr(const ObjectPtr<Message>& message, const char* name, const char* fallback) {
    MsgContainer text;
    if (message) message->fillMessage(text, name);
    return text.get() ? std::string(text.get()) : std::string(fallback);
}

unsigned int reject(IErrorInfoContainer& info, const std::string& message) {
    info.setSeverity(svHard);
    info.setErrorMessage(message.c_str());
    return vrInvalid;
}

}  // namespace

ObjectPtr<IValidatorCallbackDecorator> IValidatorCallbackDecorator::create(
    IValidatorCallback* wrapped) {
    return ObjectPtr<IValidatorCallbackDecorator>(new ValidatorCallbackDecorator(wrapped));
}

ValidatorCallbackDecorator::ValidatorCallbackDecorator(IValidatorCallback* wrapped)
    : m_wrapped(wrapped) {
    ObjectPtr<IMessageMgr> messages = IMessageMgr::create();
    m_fileIsDirectory = messages->getFileIsDirectoryMessage();
    m_fileIsNotReadable = messages->getFileIsNotReadableMessage();
    m_fileDoesNotExist = messages->getFileDoesNotExistMessage();
}

unsigned int ValidatorCallbackDecorator::validate(const char* name, IErrorInfoContainer& info) {
    posix::FileStatus status;
    // A directory or a special file is reported as not existing: the existence check
    // asks for a regular file, and it comes first on purpose.
    if (!posix::statFile(name, status) || !status.isRegular)
        return reject(info, getFileDoesntExistErrMessage(name));
    // The file may have been replaced since the first look.
    if (!posix::statFile(name, status)) return reject(info, getFileIsNotRegularErrMessage(name));
    if (status.isDirectory) return vrInvalid;
    if (!status.isRegular) return reject(info, getFileIsNotRegularErrMessage(name));
    if (!posix::canOpenForReading(name)) return reject(info, getFileIsNotReadableErrMessage(name));
    return m_wrapped ? m_wrapped->validate(name, info) : static_cast<unsigned int>(vrUndecided);
}

std::string ValidatorCallbackDecorator::getFileDoesntExistErrMessage(const char* name) {
    return filledOr(m_fileDoesNotExist, name, "%FileDoesNotExist");
}

std::string ValidatorCallbackDecorator::getFileIsNotReadableErrMessage(const char* name) {
    return filledOr(m_fileIsNotReadable, name, "%CantOpenFile");
}

std::string ValidatorCallbackDecorator::getFileIsNotRegularErrMessage(const char* name) {
    // Asked for on each call: this failure is rare, and the object is not kept.
    return filledOr(IMessageMgr::create()->getFileIsNotRegularMessage(), name, "%FileIsNotRegular");
}

std::string ValidatorCallbackDecorator::getFileIsDirErrMessage() {
    MsgContainer text;
    if (m_fileIsDirectory) m_fileIsDirectory->fillMessage(text);
    return text.get() ? std::string(text.get()) : std::string("%FileIsDirectory");
}

}  // namespace FF_2_13
