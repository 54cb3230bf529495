#include "platform/mac/TrashFolder.h"

#include "platform/mac/ObjectiveC.h"

namespace velmora::mac_backend {

namespace {

Result<std::filesystem::path> folderOf(NSSearchPathDirectory directory, NSURL* file, bool isMade, const char* otherwise)
{
    NSError* error = nil;
    auto folder = pathOf([NSFileManager.defaultManager URLForDirectory:directory
                                                              inDomain:NSUserDomainMask
                                                     appropriateForURL:file
                                                                create:isMade
                                                                 error:&error]);
    if (folder.empty())
        return fail(errorOf(error, otherwise));
    return folder;
}

}  // namespace

Result<std::filesystem::path> trashFolderFor(const std::filesystem::path& file)
{
    @autoreleasepool {
        return folderOf(NSTrashDirectory, urlOf(file), true, "There is no trash for this file.");
    }
}

Result<std::filesystem::path> supportFolder()
{
    @autoreleasepool {
        return folderOf(NSApplicationSupportDirectory, nil, false, "There is no folder for what Velmora keeps.")
            .map([](const std::filesystem::path& folder) { return folder / "Velmora"; });
    }
}

}  // namespace velmora::mac_backend
