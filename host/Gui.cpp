#include "host/Gui.h"

namespace host {

Gui::Gui(const Instance& instance)
    : mInstance(instance), mTable(instance.extension<clap_plugin_gui_t>(CLAP_EXT_GUI)) {}

Gui::~Gui() { destroy(); }

bool Gui::isApiSupported(const char* api, bool floating) const {
    return mTable != nullptr && mTable->is_api_supported(mInstance.plugin(), api, floating);
}

bool Gui::create(const char* api, bool floating) {
    const bool created = mTable != nullptr && mTable->create(mInstance.plugin(), api, floating);
    mCreated = mCreated || created;
    return created;
}

void Gui::destroy() {
    if (mCreated)
        mTable->destroy(mInstance.plugin());
    mCreated = false;
}

bool Gui::setScale(double scale) const {
    return mTable != nullptr && mTable->set_scale(mInstance.plugin(), scale);
}

std::optional<GuiSize> Gui::size() const {
    GuiSize size;
    if (mTable == nullptr || !mTable->get_size(mInstance.plugin(), &size.width, &size.height))
        return std::nullopt;
    return size;
}

bool Gui::canResize() const { return mTable != nullptr && mTable->can_resize(mInstance.plugin()); }

std::optional<clap_gui_resize_hints_t> Gui::resizeHints() const {
    clap_gui_resize_hints_t hints{};
    if (mTable == nullptr || !mTable->get_resize_hints(mInstance.plugin(), &hints))
        return std::nullopt;
    return hints;
}

std::optional<GuiSize> Gui::adjustSize(GuiSize wanted) const {
    if (mTable == nullptr ||
        !mTable->adjust_size(mInstance.plugin(), &wanted.width, &wanted.height))
        return std::nullopt;
    return wanted;
}

bool Gui::setSize(GuiSize size) const {
    return mTable != nullptr && mTable->set_size(mInstance.plugin(), size.width, size.height);
}

bool Gui::setParent(clap_xwnd x11Window) const {
    clap_window_t window{};
    window.api = CLAP_WINDOW_API_X11;
    window.x11 = x11Window;
    return mTable != nullptr && mTable->set_parent(mInstance.plugin(), &window);
}

bool Gui::show() const { return mTable != nullptr && mTable->show(mInstance.plugin()); }

bool Gui::hide() const { return mTable != nullptr && mTable->hide(mInstance.plugin()); }

} // namespace host
