#pragma once

// The checks of doctor. Each adds one line or a few to the report and changes nothing but what its
// sentence says; what it cannot find out is a FAIL. COM must be initialised on the thread.

#include "shellprobe/doctor/installation.h"
#include "shellprobe/doctor/report.h"

namespace tarnwell::shellprobe {

/// CheckClasses looks at each handler's class: registered for the machine, its DLL there, of this
/// program's version, and willing to make the class. Loads the DLL that the machine's administrator
/// registered; one that only a user did is not loaded.
void CheckClasses(const Installation& installation, CReport& report);

/// CheckFileType compares the keys of the menu and of the file type with what registering writes.
void CheckFileType(const Installation& installation, CReport& report);

/// CheckPermission looks for what keeps registered handlers from being used: another program that
/// the user opens such files with, handlers that are blocked or not approved.
void CheckPermission(const Installation& installation, CReport& report);

/// CheckLanguage tells which language is chosen and for which of the user's.
void CheckLanguage(const Installation& installation, CReport& report);

/// CheckTexts looks for the manager's archive and for every text in it.
void CheckTexts(const Installation& installation, CReport& report);

/// CheckManager starts the manager as the extension does and asks it for a page that it does not
/// have: no action is named, so that nothing is done and no window has to be shown.
void CheckManager(const Installation& installation, CReport& report);

/// CheckTrace tells where the trace is written, which makes the file, as the extension would.
void CheckTrace(const Installation& installation, CReport& report);

/// CheckZone takes locked memory in this process, as the extension does in the explorer's.
void CheckZone(const Installation& installation, CReport& report);

/// CheckSample makes a signed file in the user's temporary folder, asks the handlers for its menu,
/// icon and tip, and removes it.
void CheckSample(const Installation& installation, CReport& report);

/// KnowsModule tells whether the DLL's place is known, from which the extension finds its files; a
/// FAIL says where it is not.
bool KnowsModule(std::string_view check, const Installation& installation, CReport& report);

}  // namespace tarnwell::shellprobe
