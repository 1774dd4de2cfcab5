/// Editors on whatever display there is.
#pragma once

#include "host/Gui.h"

#include <memory>
#include <vector>

struct _XDisplay; // NOLINT(bugprone-reserved-identifier): Xlib's own name for its connection

namespace bench {

/// One editor per instance, side by side in windows of their own. [main]
class EditorWindows {
public:
    /// Opens nothing without a display. Throws host::HostError when an editor does not open.
    explicit EditorWindows(const std::vector<host::Instance*>& instances, int y = 0);
    ~EditorWindows();
    EditorWindows(const EditorWindows&) = delete;
    EditorWindows& operator=(const EditorWindows&) = delete;

    [[nodiscard]] std::size_t count() const { return editors.size(); }

private:
    _XDisplay* display;
    std::vector<std::unique_ptr<host::Gui>> editors;
};

} // namespace bench
