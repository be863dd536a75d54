// Power interface: the TV's ambient (picture-frame) mode as the power manager reports it.
// Thread-safe. The TV's own state owner sets the values; everyone else reads them.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    DEVICE_POWER_AMBIENT_OFF = 0,  // 1 to 3: the kinds of ambient screen
} device_power_ambient_mode_e;

// The current ambient mode: 0 off, 1 to 3 ambient; other values are unknown modes.
int device_power_get_ambient_mode(void);
// The product's ambient type (4 on Easel TVs showing art).
int device_power_get_ambient_type(void);

void device_power_set_ambient_mode(int mode);
void device_power_set_ambient_type(int type);

#ifdef __cplusplus
}
#endif
