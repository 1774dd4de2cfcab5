#include "host/Gui.h"

namespace host {

Gui::Gui(const Instance& viewed)
    : instance(viewed), table(viewed.extension<clap_plugin_gui_t>(CLAP_EXT_GUI)) {}

Gui::~Gui() { destroy(); }

bool Gui::isApiSupported(const char* api, bool floating) const {
    return table != nullptr && table->is_api_supported(instance.plugin(), api, floating);
}

bool Gui::create(const char* api, bool floating) {
    const bool done = table != nullptr && table->create(instance.plugin(), api, floating);
    created = created || done;
    return done;
}

void Gui::destroy() {
    if (created)
        table->destroy(instance.plugin());
    created = false;
}

bool Gui::setScale(double scale) const {
    return table != nullptr && table->set_scale(instance.plugin(), scale);
}

std::optional<GuiSize> Gui::size() const {
    GuiSize size;
    if (table == nullptr || !table->get_size(instance.plugin(), &size.width, &size.height))
        return std::nullopt;
    return size;
}

bool Gui::canResize() const { return table != nullptr && table->can_resize(instance.plugin()); }

std::optional<clap_gui_resize_hints_t> Gui::resizeHints() const {
    clap_gui_resize_hints_t hints{};
    if (table == nullptr || !table->get_resize_hints(instance.plugin(), &hints))
        return std::nullopt;
    return hints;
}

std::optional<GuiSize> Gui::adjustSize(GuiSize wanted) const {
    if (table == nullptr || !table->adjust_size(instance.plugin(), &wanted.width, &wanted.height))
        return std::nullopt;
    return wanted;
}

bool Gui::setSize(GuiSize size) const {
    return table != nullptr && table->set_size(instance.plugin(), size.width, size.height);
}

bool Gui::setParent(clap_xwnd x11Window) const {
    clap_window_t window{};
    window.api = CLAP_WINDOW_API_X11;
    window.x11 = x11Window;
    return table != nullptr && table->set_parent(instance.plugin(), &window);
}

bool Gui::show() const { return table != nullptr && table->show(instance.plugin()); }

bool Gui::hide() const { return table != nullptr && table->hide(instance.plugin()); }

} // namespace host
