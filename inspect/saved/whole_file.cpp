#include "inspect/saved/whole_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Inspect {

namespace {

/// The file beside the one to be written; removed unless it has been moved into its place.
class NewFile
{
public:
    explicit NewFile(const std::string& path) : mPath(path), mName(path + ".XXXXXX")
    {
        mDescriptor = mkostemp(mName.data(), O_CLOEXEC); // Readable by the owner alone.
        require(mDescriptor >= 0);
    }
    ~NewFile()
    {
        if (mDescriptor >= 0) {
            close(mDescriptor);
            unlink(mName.c_str());
        }
    }

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const std::string& name() const { return mName; }

    void require(bool isDone) const
    {
        if (!isDone) {
            throw NotSaved(mPath + ": " + std::strerror(errno));
        }
    }

    void moveIntoPlace(mode_t permissions)
    {
        require(fchmod(mDescriptor, permissions) == 0);
        require(fsync(mDescriptor) == 0);
        require(std::rename(mName.c_str(), mPath.c_str()) == 0);
        close(mDescriptor);
        mDescriptor = -1;
    }

private:
    std::string mPath;
    std::string mName;
    int mDescriptor = -1;
};

} // namespace

void writeWholeFile(const std::string& path, mode_t permissions, const std::function<void(std::ostream&)>& write)
{
    NewFile file(path);
    std::ofstream out(file.name(), std::ios::binary);
    errno = 0;
    write(out);
    out.close();
    file.require(out.good());
    file.moveIntoPlace(permissions);
}

} // namespace Inspect
