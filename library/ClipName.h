// What people may call a clip.
#pragma once

#include "base/Result.h"

#include <QString>

#include <string>

namespace velmora {

/// What people edit of a file's name: all but the extension. Bytes that are not UTF-8 are replacement characters in it.
[[nodiscard]] QString editableName(const std::string& filename);

/// The file's name after `edited` has taken the place of that; the extension stays. What was not edited keeps every byte. Fails, with a sentence
/// for the user, where no file could have that name or nobody would find it again.
[[nodiscard]] Result<std::string> renamedFile(const std::string& filename, const QString& edited);

}  // namespace velmora
