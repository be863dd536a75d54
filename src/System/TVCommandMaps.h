// The TV-control vocabulary: method name to property type in three maps, property type to helper.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "System/IControlHelper.h"
#include "System/TVControlPropType.h"

class TVControlHelper;

// Three command maps decide where a method is available: the wall map only on wall displays,
// the none-ambient map except for writes while the ambient screen shows, the open map always.
// Names match exactly (case-sensitive). Every map is filled whatever the product; availability
// is decided at lookup.
// Built on the main loop before the framework can call back, read-only afterwards: the lookups
// are then safe from any thread. clear() runs only when no lookup can.
class TVCommandMaps {
public:
    // Fills the wall, none-ambient and open maps, then the expert picture entries of the open
    // map. An existing entry is never replaced.
    void generateCommandMaps();
    // Fills the helper map with the helpers that serve each property type.
    void generateControlHelpersMap(const TVControlHelper& helpers);
    // Empties every map.
    void clear();

    // A read: the wall map (wall displays only), then the none-ambient and open maps.
    // TVCONTROL_PROP_TYPE_INVALID when no map has the method.
    DYNF_TVCONTROL_PROP_TYPE getTypeForGetOp(bool isWall, const std::string& method) const;
    // A write: as a read, but the none-ambient map is skipped while the ambient screen shows.
    DYNF_TVCONTROL_PROP_TYPE getTypeForSetOp(bool isAmbient, bool isWall,
                                             const std::string& method) const;
    // The helper of a property type; empty when none serves it.
    std::shared_ptr<IControlHelper> getHelper(DYNF_TVCONTROL_PROP_TYPE type) const;

private:
    using CommandMap = std::map<std::string, DYNF_TVCONTROL_PROP_TYPE>;

    void _generateWallCommandMap();
    void _generateNoneAmbientCommandMap();
    void _generateOpenCommandMap();
    void _generateExpertPictureCommandMap();
    void _insertTVHelper(const TVControlHelper& helpers);
    void _insertWallHelper(const TVControlHelper& helpers);
    void _insertExpertPictureHelper(const TVControlHelper& helpers);
    // True (type set) when map holds method; mapName is for the log.
    static bool _search(const CommandMap& map, const char* mapName, const std::string& method,
                        DYNF_TVCONTROL_PROP_TYPE& type);

    CommandMap m_wallCommand;
    CommandMap m_noneAmbientCommand;
    CommandMap m_openCommand;
    std::map<DYNF_TVCONTROL_PROP_TYPE, std::shared_ptr<IControlHelper>> m_helpers;
};
