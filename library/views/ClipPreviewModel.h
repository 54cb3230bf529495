// What the preview of a clip shows and does.
#pragma once

#include "base/SelfReference.h"
#include "library/ClipLibrary.h"
#include "library/views/FirstPicture.h"
#include "library/views/PictureSteps.h"
#include "library/views/PreviewCut.h"
#include "library/views/RunningExports.h"
#include "library/views/SmallFileStatus.h"
#include "library/views/TrimExport.h"
#include "platform/Asset.h"
#include "platform/FileManager.h"
#include "platform/Player.h"

#include <QImage>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QString>
#include <QtQmlIntegration>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// Plays one clip and trims it. Times are seconds from the clip's beginning. Main thread only.
class ClipPreviewModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY playerChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY playerChanged)
    Q_PROPERTY(bool canPlay READ canPlay NOTIFY playerChanged)
    Q_PROPERTY(bool canTrim READ canTrim NOTIFY canTrimChanged)
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
    Q_PROPERTY(QString playSymbol READ playSymbol NOTIFY isPlayingChanged)
    Q_PROPERTY(QString playAction READ playAction NOTIFY isPlayingChanged)
    // The bounds of a slider are announced before its value, which it holds within them.
    Q_PROPERTY(double scrubMaximum READ scrubMaximum NOTIFY boundsChanged)
    Q_PROPERTY(double startMaximum READ startMaximum NOTIFY boundsChanged)
    Q_PROPERTY(double endMinimum READ endMinimum NOTIFY boundsChanged)
    Q_PROPERTY(double endMaximum READ scrubMaximum NOTIFY boundsChanged)
    Q_PROPERTY(QString totalDurationText READ totalDurationText NOTIFY boundsChanged)
    Q_PROPERTY(QString totalDurationTenths READ totalDurationTenths NOTIFY boundsChanged)
    Q_PROPERTY(double currentTime READ currentTime NOTIFY currentTimeChanged)
    Q_PROPERTY(QString currentTimeText READ currentTimeText NOTIFY currentTimeChanged)
    Q_PROPERTY(QString currentTimeTenths READ currentTimeTenths NOTIFY currentTimeChanged)
    Q_PROPERTY(double trimStartTime READ trimStartTime NOTIFY trimChanged)
    Q_PROPERTY(double trimEndTime READ trimEndTime NOTIFY trimChanged)
    Q_PROPERTY(QString startText READ startText NOTIFY trimChanged)
    Q_PROPERTY(QString endText READ endText NOTIFY trimChanged)
    Q_PROPERTY(QString selectedText READ selectedText NOTIFY trimChanged)
    Q_PROPERTY(QString startTenths READ startTenths NOTIFY trimChanged)
    Q_PROPERTY(QString endTenths READ endTenths NOTIFY trimChanged)
    Q_PROPERTY(QString selectedTenths READ selectedTenths NOTIFY trimChanged)
    Q_PROPERTY(velmora::PreviewCut* cut READ cut CONSTANT)
    Q_PROPERTY(bool isExportingTrim READ isExportingTrim NOTIFY exportChanged)
    Q_PROPERTY(QString trimStatusMessage READ trimStatusMessage NOTIFY exportChanged)
    Q_PROPERTY(bool hasSavedClip READ hasSavedClip NOTIFY exportChanged)
    Q_PROPERTY(QString revealRemark READ revealRemark CONSTANT)
    Q_PROPERTY(velmora::SmallFileStatus* smallFile READ smallFile CONSTANT)
    Q_PROPERTY(double volume READ volume NOTIFY soundChanged)
    Q_PROPERTY(bool isMuted READ isMuted NOTIFY soundChanged)
    Q_PROPERTY(double heardVolume READ heardVolume NOTIFY soundChanged)
    Q_PROPERTY(QString soundSymbol READ soundSymbol NOTIFY soundChanged)
    Q_PROPERTY(QString soundAction READ soundAction NOTIFY soundChanged)

public:
    struct Services {
        std::shared_ptr<platform::PlayerFactory> players;
        std::shared_ptr<platform::AssetReader> assetReader;
        std::shared_ptr<platform::ExportSessionFactory> exportSessions;
        std::shared_ptr<platform::FileManager> fileManager;
        ClipLibrary& library;
        std::shared_ptr<Executor> mainExecutor;
        std::shared_ptr<RunningExports> runningExports;
        std::function<void(const std::filesystem::path&, const QPoint&)> share;  ///< opens the share menu there, in points of the screen
        std::function<void(const std::filesystem::path&)> reveal;
        std::function<std::string()> fileBrowserName = {};  ///< what people call it here; empty where that is not known
        std::function<void(const std::filesystem::path&)> copy;  ///< to the clipboard
        std::function<void(const std::filesystem::path&)> play;  ///< in a window of its own
        std::function<void(std::vector<std::filesystem::path>)> drag;  ///< out of the window, while the pointer's button is held
        std::shared_ptr<SmallFiles> smallFiles = {};  ///< null: there are none
    };

    /// Thumbnails in the filmstrip, once all are there.
    static constexpr int thumbnailCount = 12;
    static constexpr double fullVolume = 100;

    ClipPreviewModel(std::filesystem::path clipURL, Services services, QObject* parent = nullptr);
    ~ClipPreviewModel() override;

    /// How large the view draws the picture, in pixels. For the first one of the clip, which is drawn until the player has its own.
    void setPictureSize(const QSize& pixels) { firstPicture_.setSize(pixels); }

    /// The view is shown: loads the first picture, makes the player, once what it needs is loaded, and loads what the file says about
    /// itself.
    void setupPlayer();

    /// Plays as soon as the player and the clip's length are there, unless it is paused before that.
    void playOnceLoaded();

    /// The view is gone: nothing plays any more.
    void tearDown();

    [[nodiscard]] const std::filesystem::path& clipURL() const { return clipURL_; }
    [[nodiscard]] bool isLoading() const { return !player_ && problem_.isEmpty(); }
    [[nodiscard]] const QString& problem() const { return problem_; }
    /// False once the clip is known to be unplayable.
    [[nodiscard]] bool canPlay() const { return problem_.isEmpty(); }
    /// False once the clip is known to be unplayable and what the file says about itself cannot be read either.
    [[nodiscard]] bool canTrim() const { return canPlay() || totalDuration_ > 0; }
    [[nodiscard]] bool isPlaying() const { return isPlaying_; }
    [[nodiscard]] QString playSymbol() const;
    [[nodiscard]] QString playAction() const;
    [[nodiscard]] double totalDuration() const { return totalDuration_; }
    [[nodiscard]] double scrubMaximum() const;
    [[nodiscard]] double startMaximum() const;
    [[nodiscard]] double endMinimum() const { return trimStartTime_; }
    [[nodiscard]] double currentTime() const { return currentTime_; }
    [[nodiscard]] double trimStartTime() const { return trimStartTime_; }
    [[nodiscard]] double trimEndTime() const { return trimEndTime_; }
    [[nodiscard]] QString totalDurationText() const { return formatTime(totalDuration_); }
    [[nodiscard]] QString currentTimeText() const { return formatTime(currentTime_); }
    [[nodiscard]] QString startText() const { return QStringLiteral("Start: ") + formatTime(trimStartTime_); }
    [[nodiscard]] QString endText() const { return QStringLiteral("End: ") + formatTime(trimEndTime_); }
    [[nodiscard]] QString selectedText() const { return QStringLiteral("Selected: ") + formatTime(trimEndTime_ - trimStartTime_); }
    [[nodiscard]] QString totalDurationTenths() const { return formatTenths(totalDuration_); }
    [[nodiscard]] QString currentTimeTenths() const { return formatTenths(currentTime_); }
    [[nodiscard]] QString startTenths() const { return formatTenths(trimStartTime_); }
    [[nodiscard]] QString endTenths() const { return formatTenths(trimEndTime_); }
    [[nodiscard]] QString selectedTenths() const { return formatTenths(trimEndTime_ - trimStartTime_); }
    [[nodiscard]] PreviewCut* cut() { return &cut_; }
    [[nodiscard]] bool isExportingTrim() const { return trimExport_.isRunning(); }
    [[nodiscard]] const QString& trimStatusMessage() const { return trimExport_.message(); }
    /// Whether the message names a clip that was saved here: what the calls at its side are for.
    [[nodiscard]] bool hasSavedClip() const { return !trimExport_.savedClip().empty(); }
    /// Of the clip that was saved here, or of the whole one.
    [[nodiscard]] SmallFileStatus* smallFile() { return &smallFile_; }
    /// In hundredths of what is in the file.
    [[nodiscard]] double volume() const { return volume_; }
    [[nodiscard]] bool isMuted() const { return isMuted_; }
    [[nodiscard]] double heardVolume() const { return isMuted_ ? 0 : volume_; }
    [[nodiscard]] QString soundSymbol() const;
    [[nodiscard]] QString soundAction() const;
    [[nodiscard]] const std::vector<QImage>& thumbnails() const { return thumbnails_; }

    /// Draws what the player shows now, or will show first; false when there is nothing yet.
    [[nodiscard]] bool drawPicture(const platform::PictureTarget& target) const;

    Q_INVOKABLE void togglePlaying();
    /// From here on; at the selection's end, or behind it, the selection from its start.
    Q_INVOKABLE void play();
    Q_INVOKABLE void pause();
    /// What plays goes on from there.
    Q_INVOKABLE void goOneSecondBack();
    Q_INVOKABLE void goToBeginning();
    Q_INVOKABLE void goToEnd();
    Q_INVOKABLE void scrub(double seconds);
    Q_INVOKABLE void moveTrimStart(double seconds);
    Q_INVOKABLE void moveTrimEnd(double seconds);

    /// To there, as far as the slider allows, and paused: the picture there is looked at.
    void dragTrimStart(double seconds);
    void dragTrimEnd(double seconds);

    /// Step by so many pictures, forwards or back.
    Q_INVOKABLE void stepCurrentTime(int pictures);
    Q_INVOKABLE void pauseAndStep(int pictures);
    Q_INVOKABLE void stepTrimStart(int pictures);
    Q_INVOKABLE void stepTrimEnd(int pictures);

    /// The selection begins, or ends, with what is shown now, as far as the other end allows.
    Q_INVOKABLE void setTrimStartHere();
    Q_INVOKABLE void setTrimEndHere();

    /// Cuts the middle third of the selection out, or keeps it again. Playing leaves out what is cut.
    Q_INVOKABLE void toggleCut();
    /// To there, as far as the other end and the clip's allow; the picture there is shown.
    Q_INVOKABLE void moveCutStart(double seconds);
    Q_INVOKABLE void moveCutEnd(double seconds);
    Q_INVOKABLE void stepCutStart(int pictures);
    Q_INVOKABLE void stepCutEnd(int pictures);
    /// The same, and paused.
    void dragCutStart(double seconds);
    void dragCutEnd(double seconds);

    /// "Save Trimmed Clip".
    Q_INVOKABLE void saveTrimmedClip() { exportTrimmed(false); }
    void exportTrimmed(bool replaceOriginal);

    Q_INVOKABLE void share(double x, double y);
    /// What revealing does on this desktop.
    [[nodiscard]] QString revealRemark() const;
    Q_INVOKABLE void reveal() { services_.reveal(clipURL_); }
    Q_INVOKABLE void drag() { services_.drag({clipURL_}); }
    Q_INVOKABLE void playSavedClip();
    Q_INVOKABLE void shareSavedClip(double x, double y);
    Q_INVOKABLE void revealSavedClip();
    Q_INVOKABLE void copySavedClip();
    Q_INVOKABLE void dragSavedClip();

    /// Of this preview only, and for as long as it is open. A volume that is chosen is heard: it ends the muting.
    Q_INVOKABLE void setVolume(double volume);
    Q_INVOKABLE void toggleMuted();

    Q_INVOKABLE void dismiss() { emit dismissed(); }

    /// "%02d:%02d" of minutes and seconds; hours count as minutes.
    [[nodiscard]] static QString formatTime(double seconds);
    /// The same with the tenths of a second, "%02d:%02d.%d".
    [[nodiscard]] static QString formatTenths(double seconds);

signals:
    void playerChanged();
    void canTrimChanged();
    void pictureChanged();
    void isPlayingChanged();
    void boundsChanged();
    void currentTimeChanged();
    void trimChanged();
    void thumbnailsChanged();
    void exportChanged();
    void soundChanged();
    void dismissed();

private:
    void makePlayer();
    void playIfWanted();
    void timePassed(MediaTime time);
    void setPlaying(bool isPlaying);
    void setDuration(double seconds);
    void setTrim(double start, double end);
    void setCut(double start, double end);
    void seek(double seconds);
    void fail(const QString& problem);
    void loadThumbnail(int number);
    void setSound(double volume, bool isMuted);
    void applySound();
    [[nodiscard]] bool isAtSelectionsEnd() const;
    [[nodiscard]] MediaTime exportEnd() const;
    /// Where what plays from here on pauses: the selection's end, or a cut before it.
    [[nodiscard]] MediaTime playbackEnd() const;
    [[nodiscard]] double steppedTime(MediaTime time, int pictures) const;

    const std::filesystem::path clipURL_;
    const Services services_;
    bool isShown_ = false;
    bool isLengthAnswered_ = false;
    bool isPlayingWanted_ = false;  // before it can play
    FirstPicture firstPicture_;  // until the player has one, and while it would be the right one
    std::unique_ptr<platform::Player> player_;
    std::optional<platform::Player::TimeObserverToken> timeObserverToken_;
    QString problem_;
    bool isPlaying_ = false;
    double currentTime_ = 0;
    MediaTime shownTime_ = MediaTime::zero();  ///< currentTime_ as the player has it
    double totalDuration_ = 0;
    double trimStartTime_ = 0;
    double trimEndTime_ = 0;
    PreviewCut cut_{this};
    TrimExport trimExport_;
    SmallFileStatus smallFile_;
    double volume_ = fullVolume;
    bool isMuted_ = false;
    PictureSteps pictureSteps_;
    std::vector<QImage> thumbnails_;

    // Gone with the model, so that a late result finds nobody.
    const SelfReference<ClipPreviewModel> self_{*this};
};

}  // namespace velmora
