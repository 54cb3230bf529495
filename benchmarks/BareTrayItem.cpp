// The least that a Qt program with an item in the tray can be: the start and the size of ours are compared with it.

#include <QApplication>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char** argv)
{
    QApplication application{argc, argv};
    QPixmap picture{22, 22};
    picture.fill(Qt::white);
    QSystemTrayIcon item{QIcon{picture}};
    item.show();
    return QApplication::exec();
}
