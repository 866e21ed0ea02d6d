#pragma once

// The identifiers of the DLL's icons; plain macros because the resource compiler reads them too.

#define TARNWELL_ICON_MENU_SIGN 205
#define TARNWELL_ICON_MENU_ENCRYPT 206
#define TARNWELL_ICON_MENU_SIGNENCRYPT 207
