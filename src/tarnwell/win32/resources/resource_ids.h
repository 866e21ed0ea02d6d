#pragma once

// The identifiers of the DLL's icons; plain macros because the resource compiler reads them too.

#define TARNWELL_ICON_MENU_SIGN 205
#define TARNWELL_ICON_MENU_ENCRYPT 206
#define TARNWELL_ICON_MENU_SIGNENCRYPT 207

// The overlay of a signed file: do its signatures hold?
#define TARNWELL_ICON_VALID 208
#define TARNWELL_ICON_INVALID 209

// The overlay of every file: what kind of PKCS#7 content does it hold?
#define TARNWELL_ICON_SIGNED 210
#define TARNWELL_ICON_ENCRYPTED 211
#define TARNWELL_ICON_SIGNED_ENCRYPTED 212
#define TARNWELL_ICON_OTHER 218
