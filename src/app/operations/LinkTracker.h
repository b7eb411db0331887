#pragma once
// The names of one file inside a copied folder become names of one copy. The first
// copy of every file with more than one name is remembered as a folder and a name under
// the copy's root; the folders are kept as a parent-linked table, filled only on the way
// to such a file, so that memory follows the linked files, not the tree. Reaching the
// first copy again opens its folders one by one from the root: two descriptors at any
// depth. One tracker per copied item, on the thread that copies it.

#include <map>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace ringfold {

class LinkTracker {
public:
    /// `dstName` in `dstDir` is the copy's root; both must outlive the tracker.
    LinkTracker(int dstDir, const char* dstName) : m_dstDir(dstDir), m_dstName(dstName) {}

    /// The copy goes down into the folder `name` below its root, or back up.
    void enter(const char* name) {
        m_path.emplace_back(name);
        m_index.push_back(-1);
    }
    void leave() {
        m_path.pop_back();
        m_index.pop_back();
    }

    /// Makes `name` in `dParent` a link to an earlier copy of the same file; false when
    /// this is the file's first name here, or the link cannot be made (too many links,
    /// a file system without them), so that the caller copies it.
    bool link(const struct stat& st, int dParent, const char* name);
    /// The copy just made of `name` in the current folder is the one to link to from now
    /// on (after a failed link too: a full file is not linked to again and again).
    void copied(const struct stat& st, const char* name);

private:
    struct Folder {
        int parent;
        std::string name;
    };
    struct Place {
        int folder; // into m_folders; -1 is the copy's root
        std::string name;
    };
    int currentFolder();

    int m_dstDir;
    const char* m_dstName;
    std::vector<std::string> m_path; // below the root, down to the current folder
    std::vector<int> m_index;        // each level's row in m_folders, -1 until needed
    std::vector<Folder> m_folders;
    std::map<std::pair<dev_t, ino_t>, Place> m_first;
};

} // namespace ringfold
