#ifndef QORVEL_PROGRAM_OUTPUT_PARTIALFILE_H
#define QORVEL_PROGRAM_OUTPUT_PARTIALFILE_H

#include <filesystem>
#include <string>

namespace program {

/// The file of that name, or to be: what a symbolic link points to is what gets replaced, or made,
/// not the link.
std::filesystem::path targetOf(const std::string& name);

/// A file that gets its name only when it is complete: until then it stands beside it under a
/// temporary one, "tracks.partial-4711.csv" for tracks.csv, and is its owner's alone. Removed at
/// destruction unless completed or kept.
///
/// Tracks say where people are: a file that replaces another has its mode and, where permitted, its
/// owner and group; without the group, members of the new one may do no more than everybody. A file
/// in place of none has the mode that the umask says. What else had been given to a file, such as
/// access lists or further hard links, is not taken over.
class PartialFile {
public:
    /// Makes the file, empty, under its temporary name with this extension, such as ".csv": it says
    /// what is inside, whatever the name. Nothing that exists is touched. A symbolic link to a file
    /// is followed. Throws Failure(broken) where the name cannot be written later.
    PartialFile(const std::string& name, const std::string& extension);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    /// The temporary name.
    const std::string& path() const { return path_; }

    /// Gives the file its name, in place of what had it, when all of it is on the disk. Throws
    /// Failure(broken).
    void complete();

    /// Leaves the file under the temporary name, which is returned.
    std::string keep() noexcept;

private:
    void reserve(const std::string& extension);
    int settle() const noexcept;
    void giveAccess(int file) const noexcept;

    std::string name_; ///< as the user gave it
    std::filesystem::path target_;
    std::string path_; ///< empty when completed or kept
};

} // namespace program

#endif
