#pragma once

// What the manager asks of the file system beyond reading and writing whole files. A seam: tests
// derive from it to let calls fail. Paths are full and may be longer than the classic limit. Any
// thread may call.

#include <string>
#include <string_view>

namespace tarnwell::manager {

enum class Move { kMoved, kTaken, kFailed };

class CFiles {
public:
    virtual ~CFiles() = default;

    /// IsFile tells whether a file is there; false for a folder and for what cannot be looked at.
    virtual bool IsFile(const std::u16string& path);
    /// IsFolder tells whether a folder is there.
    virtual bool IsFolder(const std::u16string& path);
    /// MoveNew renames a file or folder within its folder; kTaken, and nothing done, where `to`
    /// exists. Looking and renaming are one step: nothing can come between and be overwritten.
    virtual Move MoveNew(const std::u16string& from, const std::u16string& to);
    /// Remove deletes a file or an empty folder; what is not there is fine.
    virtual void Remove(const std::u16string& path);
    /// MakeFolders makes the folder and those above it; true if it is there afterwards.
    virtual bool MakeFolders(const std::u16string& path);
    /// MakePrivateFolder makes a folder that, with everything in it, only this user can read;
    /// false if it was there already or cannot be made.
    virtual bool MakePrivateFolder(const std::u16string& path);
};

/// Join puts the system's separator between a folder and a name.
std::u16string Join(std::u16string_view folder, std::u16string_view name);

/// SideName gives an unused-looking name ("~corvane-0123456789abcdef.tmp") for what is written
/// beside its goal first and then moved there. Throws CException without random numbers.
std::u16string SideName();

}  // namespace tarnwell::manager
