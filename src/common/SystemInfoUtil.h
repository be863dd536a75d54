// Product facts of the common library: the TV's model year. Thread-safe (stateless).
#pragma once

class SystemInfoUtil {
public:
    // Two-digit model year (19 for a 2019 set), or -1 when the product does not say.
    static int GetTVYear();
};
