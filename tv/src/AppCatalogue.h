// The TV's application catalogue: ids, titles and run titles of the applications it can launch.
#pragma once

#include <string>
#include <vector>

typedef struct _JsonNode JsonNode;

namespace ipc_tv {

struct App {
    std::string key;          // the name a launch request gives ("netflix")
    std::string id;           // the store id
    std::string title;        // what the screen shows
    std::string runTitle;     // what the title lookup takes (the title when not given)
    bool firstScreen = true;  // listed among the first-screen applications
};

// An immutable list of applications; always holds "home". Thread-safe once built.
class AppCatalogue {
public:
    static constexpr char kHome[] = "home";

    // The TV's usual applications.
    AppCatalogue();
    // The applications of a JSON array of {"key", "id", "title", optional "runTitle" and
    // "firstScreen"} with distinct keys and ids; false with error when the node is not one.
    bool parse(JsonNode* node, std::string& error);

    const App* findById(const std::string& id) const { return _find(&App::id, id); }
    const App* findByRunTitle(const std::string& runTitle) const {
        return _find(&App::runTitle, runTitle);
    }
    // [{"name": title, "id": id}] of the first-screen applications, as JSON text.
    std::string firstScreenJson() const;
    // The applications as a JSON array of objects; the caller owns the node.
    JsonNode* toJson() const;

private:
    void _addHome();
    const App* _find(std::string App::*field, const std::string& value) const;

    std::vector<App> m_apps;
};

}  // namespace ipc_tv
