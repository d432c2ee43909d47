// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/liveobjects.h"

#include <mutex>
#include <unordered_map>

// Qt's place for tools that look at objects: functions that it calls. Its header is a private one.
extern Q_CORE_EXPORT quintptr qtHookData[]; // NOLINT(readability-redundant-declaration)

namespace KelTest::LiveObjects {

namespace {

constexpr int placeOfAdding = 3;
constexpr int placeOfRemoving = 4;

struct Known
{
    std::mutex mutex;
    std::unordered_map<QObject*, quint64> numbers;
    quint64 made = 0;
};

Known& known()
{
    static auto* const objects = new Known; // for objects that end with the process
    return *objects;
}

void added(QObject* object)
{
    const std::lock_guard<std::mutex> lock(known().mutex);
    known().numbers[object] = ++known().made;
}

void removed(QObject* object)
{
    const std::lock_guard<std::mutex> lock(known().mutex);
    known().numbers.erase(object);
}

} // namespace

void watch()
{
    qtHookData[placeOfAdding] = reinterpret_cast<quintptr>(&added);
    qtHookData[placeOfRemoving] = reinterpret_cast<quintptr>(&removed);
}

quint64 made()
{
    const std::lock_guard<std::mutex> lock(known().mutex);
    return known().made;
}

void forEach(const std::function<void(QObject& object, quint64 number)>& look)
{
    const std::lock_guard<std::mutex> lock(known().mutex);
    for (const auto& [object, number] : known().numbers)
        look(*object, number);
}

} // namespace KelTest::LiveObjects
