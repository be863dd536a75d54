// The multi-view setting: whether the screen is split, its layout and the sources in its tiles.
#pragma once

#include <string>
#include <vector>

namespace ipc_tv {

// A plain value. Not thread-safe: one thread at a time.
struct MultiView {
    bool on = false;
    std::string layout = "pip";  // "pip" and "split" show 2 sources, "quad" 4
    std::vector<std::string> sources = {"dtv", "HDMI1"};

    // The setting of a stored text {"on", "layout", "sources"}; the default when it is not one.
    static MultiView fromText(const std::string& json);
    // A write {"on": bool, optional "layout", optional "sources"} over this setting: the
    // members left out stay. False when the text is not such an object, or the result has a
    // source not among inputs, a source twice, or a count its layout does not show.
    bool merge(const std::string& json, const std::vector<std::string>& inputs,
               MultiView& result) const;
    // The canonical text the TV stores and serves.
    std::string text() const;
};

}  // namespace ipc_tv
