#include "host/KBitmap.h"

void KBitmap::clear() {
    m_pixels = nullptr;
    m_bufferSize = 0;
    m_rowBytes = 0;
    m_firstExtent = 0;
    m_secondExtent = 0;
}
