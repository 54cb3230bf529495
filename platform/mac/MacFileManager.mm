#include "platform/mac/MacFileManager.h"

#include "platform/mac/ObjectiveC.h"
#include "platform/posix/PosixFileManager.h"

#include <cerrno>
#include <sys/stat.h>

namespace velmora::mac_backend {

namespace {

std::chrono::system_clock::time_point timePoint(std::chrono::duration<double> sinceEpoch)
{
    return std::chrono::system_clock::time_point{std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch)};
}

class MacFileManager final : public posix_backend::PosixFileManager {
public:
    [[nodiscard]] std::vector<std::filesystem::path> moviesDirectories() const override
    {
        @autoreleasepool {
            std::vector<std::filesystem::path> directories;
            NSArray<NSURL*>* const urls = [NSFileManager.defaultManager URLsForDirectory:NSMoviesDirectory inDomains:NSUserDomainMask];
            for (NSUInteger index = 0; index < urls.count; ++index) {
                if (auto directory = pathOf([urls objectAtIndex:index]); !directory.empty())
                    directories.push_back(std::move(directory));
            }
            return directories;
        }
    }

    [[nodiscard]] std::filesystem::path homeDirectory() const override
    {
        @autoreleasepool {
            return textOf(NSHomeDirectory());
        }
    }

    [[nodiscard]] Result<platform::FileAttributes> attributesOfItem(const std::filesystem::path& path) const override
    {
        struct stat found { };
        if (::stat(path.c_str(), &found) != 0)
            return fail(posixError(errno, path.native()));
        platform::FileAttributes attributes;
        attributes.size = static_cast<std::int64_t>(found.st_size);
        attributes.creationDate = creationDate(path).value_or(timePoint(std::chrono::seconds{found.st_mtime}));
        return attributes;
    }

private:
    /// Of what a link points to: the system's own question would be about the link.
    static std::optional<std::chrono::system_clock::time_point> creationDate(const std::filesystem::path& path)
    {
        @autoreleasepool {
            std::error_code error;
            const auto file = std::filesystem::canonical(path, error);
            id value = nil;
            if (error || ![urlOf(file) getResourceValue:&value forKey:NSURLCreationDateKey error:nullptr] || !value)
                return std::nullopt;
            return timePoint(std::chrono::duration<double>{((NSDate*)value).timeIntervalSince1970});
        }
    }
};

}  // namespace

std::shared_ptr<platform::FileManager> makeFileManager()
{
    return std::make_shared<MacFileManager>();
}

}  // namespace velmora::mac_backend
