// The least that a Qt program with a window and a text in it can be: how soon ours open is compared with its start.

#include <QApplication>
#include <QFont>
#include <QLabel>
#include <QPalette>

int main(int argc, char** argv)
{
    QApplication application{argc, argv};
    QLabel label{QStringLiteral("A window of Qt with a text")};
    label.setWindowTitle(QStringLiteral("Bare Qt window"));
    label.setPalette({Qt::white, Qt::black});
    QFont font;
    font.setPixelSize(22);
    label.setFont(font);
    label.setAlignment(Qt::AlignCenter);
    label.resize(560, 480);
    label.show();
    return QApplication::exec();
}
