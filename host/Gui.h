/// The GUI of an instance, through clap.gui. No window system in here: a window is a number.
#pragma once

#include "adapter/ClapRecords.h"
#include "host/Instance.h"

#include <cstdint>
#include <optional>

namespace host {

/// In pixels.
struct GuiSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(const GuiSize&, const GuiSize&) = default;
};

/// A view of an instance, which must outlive it; destroys the GUI when it is left created.
/// Without the extension everything answers false or nothing. Otherwise each call is passed on as
/// it comes, in any order: that is the caller's test. [main; a caller that imitates a host which
/// answers the plug-in on the plug-in's own thread may use all but create and destroy there]
class Gui {
public:
    explicit Gui(const Instance& viewed);
    ~Gui();
    Gui(const Gui&) = delete;
    Gui& operator=(const Gui&) = delete;

    [[nodiscard]] bool isApiSupported(const char* api, bool floating = false) const;

    [[nodiscard]] bool create(const char* api = CLAP_WINDOW_API_X11, bool floating = false);
    /// Does nothing when there is nothing to destroy.
    void destroy();

    bool setScale(double scale) const;
    [[nodiscard]] std::optional<GuiSize> size() const;
    [[nodiscard]] bool canResize() const;
    [[nodiscard]] std::optional<clap_gui_resize_hints_t> resizeHints() const;
    /// The size that the plug-in makes of `wanted`.
    [[nodiscard]] std::optional<GuiSize> adjustSize(GuiSize wanted) const;
    bool setSize(GuiSize size) const;
    bool setParent(clap_xwnd x11Window) const;
    bool show() const;
    bool hide() const;

private:
    const Instance& instance;
    const clap_plugin_gui_t* table;
    bool created = false;
};

} // namespace host
