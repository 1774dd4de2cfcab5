/// The connection to the X server, and its windows.
#pragma once

#include "host/Gui.h"

#include <optional>
#include <string>
#include <vector>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): Xlib's own name for its connection

namespace editor {

class TopLevel;

/// Outlives its windows. [main]
class XServer {
public:
    /// Throws tools::Failure when there is no display.
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    /// Becomes readable when something arrives.
    [[nodiscard]] int fd() const;
    /// Hands what has arrived to the windows.
    void dispatch();

private:
    friend class TopLevel;

    _XDisplay* display;
    unsigned long protocols; ///< interned names
    unsigned long deleteWindow;
    unsigned long netName;
    unsigned long utf8;
    std::vector<TopLevel*> windows;
};

/// How far a user may resize a window.
struct SizeRules {
    host::GuiSize least;
    host::GuiSize most;
    std::optional<host::GuiSize> aspect; ///< width and height in proportion
};

/// An empty window that the user sees as one: title, frame, close button. [main]
class TopLevel {
public:
    /// Visible at once; a window manager may move it, otherwise its left edge is at `x`.
    TopLevel(XServer& owner, const std::string& title, int x, host::GuiSize size,
             const SizeRules& rules);
    ~TopLevel();
    TopLevel(const TopLevel&) = delete;
    TopLevel& operator=(const TopLevel&) = delete;

    [[nodiscard]] unsigned long id() const { return windowId; }
    /// As the server last reported it.
    [[nodiscard]] host::GuiSize size() const { return reported; }
    /// Asks for another size; size() tells once it is so.
    void resize(host::GuiSize size);
    /// Whether the user has closed it (it stays until it is destroyed).
    [[nodiscard]] bool isCloseAsked() const { return closeAsked; }

private:
    friend class XServer;

    void setTitle(const std::string& title);
    void setRules(const SizeRules& rules);

    XServer& server;
    unsigned long windowId;
    host::GuiSize reported;
    bool closeAsked = false;
};

} // namespace editor
