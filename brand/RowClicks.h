// What clicks in a list were on.
#pragma once

#include <optional>
#include <utility>

namespace velmora {

/// The first press says what a double click is on: by the second the list may have other rows there.
template <typename Key>
class RowClicks {
public:
    /// The pointer went down, on nothing where there is no row.
    void press(std::optional<Key> key) { before_ = std::exchange(last_, std::move(key)); }

    [[nodiscard]] const std::optional<Key>& pressed() const { return last_; }

    /// What a double click is on whose second press was the last one.
    [[nodiscard]] const std::optional<Key>& doubleClicked() const { return before_; }

private:
    std::optional<Key> before_;
    std::optional<Key> last_;
};

}  // namespace velmora
