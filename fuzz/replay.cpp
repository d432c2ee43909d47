// SPDX-License-Identifier: LGPL-2.1-or-later
// Gives inputs to the targets, as libFuzzer does, but without its inventions: a test of what was
// found before, with any compiler.
//
// usage: kelaccount-fuzz-replay --list
//        kelaccount-fuzz-replay TARGET FILE-OR-FOLDER...
#include "fuzztarget.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace {

using Run = void (*)(const uint8_t* data, size_t size);

std::map<std::string, Run>& targets()
{
    static std::map<std::string, Run> all;
    return all;
}

QStringList filesOf(const QString& path)
{
    if (!QFileInfo(path).isDir())
        return {path};
    QStringList files;
    const QStringList names = QDir(path).entryList(QDir::Files, QDir::Name);
    for (const QString& name : names)
        files.append(path + QLatin1Char('/') + name);
    return files;
}

bool replay(Run run, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return false;
    }
    const QByteArray bytes = file.readAll();
    // Says which one it was when the process ends in it.
    std::fprintf(stderr, "%s\n", qPrintable(path));
    run(reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(bytes.size()));
    return true;
}

} // namespace

KelFuzz::Target::Target(const char* name, void (*run)(const uint8_t* data, size_t size))
{
    targets().emplace(name, run);
}

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (const auto& target : targets())
            std::puts(target.first.c_str());
        return 0;
    }
    const auto target = argc > 2 ? targets().find(argv[1]) : targets().end();
    if (target == targets().end()) {
        std::fprintf(stderr, "usage: %s --list\n       %s TARGET FILE-OR-FOLDER...\n", argv[0],
                     argv[0]);
        return 2;
    }
    int count = 0;
    for (int i = 2; i < argc; ++i) {
        const QStringList files = filesOf(QFile::decodeName(argv[i]));
        for (const QString& file : files) {
            if (!replay(target->second, file))
                return 1;
            ++count;
        }
    }
    std::fprintf(stderr, "%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
