// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/fakemodem.h"

#include <atomic>

namespace {

QVector<QtMobility::ModemDetails> presentModems;
QVector<QtMobility::SimCard> presentSims;
std::atomic<int> readingCount{0}; // clients ask on threads of their own

class Reader : public QtMobility::ModemReader
{
public:
    QVector<QtMobility::ModemDetails> modems() override
    {
        ++readingCount;
        return presentModems;
    }
    QVector<QtMobility::SimCard> sims() override
    {
        ++readingCount;
        return presentSims;
    }
};

} // namespace

std::unique_ptr<QtMobility::ModemReader> QtMobility::makeModemReader()
{
    return std::make_unique<Reader>();
}

void KelTest::FakeModem::reset()
{
    presentModems.clear();
    presentSims.clear();
    readingCount = 0;
}

void KelTest::FakeModem::setModems(const QVector<QtMobility::ModemDetails>& modems)
{
    presentModems = modems;
}

void KelTest::FakeModem::setSims(const QVector<QtMobility::SimCard>& sims)
{
    presentSims = sims;
}

int KelTest::FakeModem::readings()
{
    return readingCount;
}
