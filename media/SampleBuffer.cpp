#include "media/SampleBuffer.h"

#include <algorithm>

namespace velmora {

DataBlock DataBlock::owning(std::vector<std::byte> bytes)
{
    auto owner = std::make_shared<const std::vector<std::byte>>(std::move(bytes));
    const std::span<const std::byte> view{*owner};
    return {view, std::move(owner)};
}

AttachmentDictionary::AttachmentDictionary(std::initializer_list<std::pair<std::string_view, Value>> entries)
{
    for (const auto& [key, value] : entries)
        set(key, value);
}

const AttachmentDictionary::Value* AttachmentDictionary::find(std::string_view key) const
{
    const auto entry = std::find_if(entries_.begin(), entries_.end(), [key](const auto& e) { return e.first == key; });
    return entry == entries_.end() ? nullptr : &entry->second;
}

bool AttachmentDictionary::boolean(std::string_view key) const
{
    const Value* value = find(key);
    const bool* flag = value ? std::get_if<bool>(value) : nullptr;
    return flag && *flag;
}

void AttachmentDictionary::set(std::string_view key, Value value)
{
    const auto entry = std::find_if(entries_.begin(), entries_.end(), [key](const auto& e) { return e.first == key; });
    if (entry == entries_.end())
        entries_.emplace_back(std::string{key}, std::move(value));
    else
        entry->second = std::move(value);
}

bool SampleBuffer::isSync() const
{
    if (!attachments || attachments->empty())
        return true;
    const auto& first = attachments->front();
    return !first.boolean(attachment_key::notSync) && !first.boolean(attachment_key::dependsOnOthers);
}

const std::shared_ptr<const AttachmentsArray>& SampleBuffer::syncAttachments()
{
    static const auto shared = std::make_shared<const AttachmentsArray>(AttachmentsArray{{{attachment_key::dependsOnOthers, false}}});
    return shared;
}

const std::shared_ptr<const AttachmentsArray>& SampleBuffer::notSyncAttachments()
{
    static const auto shared = std::make_shared<const AttachmentsArray>(
        AttachmentsArray{{{attachment_key::notSync, true}, {attachment_key::dependsOnOthers, true}}});
    return shared;
}

}  // namespace velmora
