#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace loadcal {

/// Where the output layer tells the user something (a message box with an OK
/// button in the window, stderr on the command line, a list in tests).
class IMessageSink {
public:
    virtual ~IMessageSink() = default;
    virtual void ShowMessage(const std::wstring& text) = 0;
};

/// Hands a finished file to an application that shows it.
class IFileOpener {
public:
    virtual ~IFileOpener() = default;
    /// False when no application could be started for the file.
    virtual bool Open(const std::filesystem::path& file) = 0;
};

/// Opens a file with the desktop's default application through a launcher
/// program (xdg-open unless told otherwise), started directly, without a
/// shell. The launcher's exit status decides: 0 is success, anything else or
/// a launcher that cannot be started is failure. A launcher still running
/// after `wait` (some run the application in the foreground) counts as
/// success; it is then left to finish on its own and reaped by a detached
/// thread, so the caller's window is not blocked.
class CDesktopOpener final : public IFileOpener {
public:
    explicit CDesktopOpener(std::string launcher = "xdg-open",
                            std::chrono::milliseconds wait = std::chrono::seconds(5))
        : m_launcher(std::move(launcher)), m_wait(wait)
    {}
    bool Open(const std::filesystem::path& file) override;

private:
    std::string m_launcher;
    std::chrono::milliseconds m_wait;
};

}  // namespace loadcal
