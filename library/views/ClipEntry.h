// One of the clips of the clips window, for QML.
#pragma once

#include "library/views/ClipsModel.h"

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration>

namespace velmora {

/// What a tile shows of the clip that has this number at the moment. Its picture and length are loaded for as long as there is an entry that
/// is on the screen.
class ClipEntry : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(velmora::ClipsModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
    Q_PROPERTY(int number READ number WRITE setNumber NOTIFY numberChanged REQUIRED)
    Q_PROPERTY(QString name READ name NOTIFY clipChanged)
    Q_PROPERTY(QString editableName READ editableName NOTIFY clipChanged)
    Q_PROPERTY(QString length READ length NOTIFY lengthChanged)
    Q_PROPERTY(QString details READ details NOTIFY clipChanged)
    Q_PROPERTY(QString spoken READ spoken NOTIFY lengthChanged)
    Q_PROPERTY(QImage picture READ picture NOTIFY pictureChanged)
    Q_PROPERTY(bool hasPicture READ hasPicture NOTIFY pictureChanged)
    Q_PROPERTY(bool isSelected READ isSelected NOTIFY selectionChanged)
    Q_PROPERTY(bool isCurrent READ isCurrent NOTIFY selectionChanged)
    Q_PROPERTY(bool isRenaming READ isRenaming NOTIFY renamingChanged)

public:
    explicit ClipEntry(QObject* parent = nullptr);
    ~ClipEntry() override;

    [[nodiscard]] ClipsModel* model() const { return model_; }
    void setModel(ClipsModel* model);
    [[nodiscard]] int number() const { return number_; }
    void setNumber(int number);

    /// Without its extension.
    [[nodiscard]] QString name() const;
    [[nodiscard]] QString editableName() const;

    /// "1:23"; empty until it is known.
    [[nodiscard]] QString length() const;

    /// When and how large.
    [[nodiscard]] QString details() const;

    /// All of it, for assistive technology.
    [[nodiscard]] QString spoken() const;
    [[nodiscard]] QImage picture() const;
    [[nodiscard]] bool hasPicture() const { return !picture().isNull(); }
    [[nodiscard]] bool isSelected() const;
    [[nodiscard]] bool isCurrent() const;
    [[nodiscard]] bool isRenaming() const;

signals:
    void modelChanged();
    void numberChanged();
    void clipChanged();
    void lengthChanged();
    void pictureChanged();
    void selectionChanged();
    void renamingChanged();

private:
    void update();
    void setClip(FolderClipRef clip);

    QPointer<ClipsModel> model_;
    int number_ = -1;
    FolderClipRef clip_;
};

}  // namespace velmora
