#include "library/ClipName.h"

#include <algorithm>
#include <climits>
#include <filesystem>

namespace velmora {

namespace {

enum class NameError : int { empty = 1, slash, hidden, control, tooLong };

tl::unexpected<Error> refusal(NameError error, const char* sentence)
{
    return fail("Velmora.ClipName", static_cast<int>(error), sentence);
}

bool isControl(QChar character)
{
    const auto category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
}

}  // namespace

QString editableName(const std::string& filename)
{
    return QString::fromStdString(std::filesystem::path{filename}.stem().native());
}

Result<std::string> renamedFile(const std::string& filename, const QString& edited)
{
    if (edited == editableName(filename))
        return filename;
    // A space at either end would be there unseen.
    const auto name = edited.trimmed();
    if (name.isEmpty())
        return refusal(NameError::empty, "A clip needs a name.");
    if (name.contains(QLatin1Char('/')))
        return refusal(NameError::slash, "A name cannot contain “/”.");
    if (name.startsWith(QLatin1Char('.')))
        return refusal(NameError::hidden, "A name cannot begin with a full stop: the clip would be hidden.");
    // Half of a pair has no bytes.
    if (std::any_of(name.begin(), name.end(), isControl) || !name.isValidUtf16())
        return refusal(NameError::control, "A name cannot contain line breaks or other control characters.");
    const auto renamed = name.toStdString() + std::filesystem::path{filename}.extension().native();
    if (renamed.size() > NAME_MAX)
        return refusal(NameError::tooLong, "That name is too long.");
    return renamed;
}

}  // namespace velmora
