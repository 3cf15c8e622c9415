#include "inspect/save/save.h"

#include "inspect/json/state_json.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
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

    void moveIntoPlace()
    {
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

void saveState(const BusState& state, const std::string& path)
{
    NewFile file(path);
    std::ofstream out(file.name(), std::ios::binary);
    errno = 0;
    writeState(out, state);
    out.close();
    file.require(out.good());
    file.moveIntoPlace();
}

} // namespace Inspect
