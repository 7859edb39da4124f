#include "uarttradio.h"

Radio::Radio(QObject *parent) : QThread(parent) {}

// TODO: build the own radio frame; nothing sends it until the serial link is there.
void Radio::Radioslots(QString) {}
