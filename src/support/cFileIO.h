#pragma once
// Small file and folder operations and the paths the program lives by.
// The file dialogs belong to the GUI; everything here is POSIX.
#include <cstdint>
#include <string>

#include "base/ByteIO.h"

namespace quillet {

class cFileIO {
public:
    cFileIO();

    // Directory of the running program, ending in '/': the base of the log,
    // verdata.mul and the "export"/"import" folders.
    std::string exepath;
    std::string TempPath;     // $TMPDIR or /tmp, ending in '/'
    std::string SystemPath;   // no closing '/'
    std::string WindowsPath;  // no closing '/'
    std::string AppPath;      // ending in '/'

    void OpenLink(const std::string& URL);
    void OpenProgram(const std::string& Exefile, const std::string& Directory);
    void KillDir(const std::string& sFolder);
    void CreateDir(const std::string& sFolder);
    bool KillFile(const std::string& Filename);
    bool FileExist(const std::string& Filename);
    int32_t Lof(const std::string& Filename);
    bool Rename(const std::string& FromFilename, const std::string& ToFilename);
    bool CopyFile(const std::string& FromFilename, const std::string& ToFilename);
    int32_t FileToByteArray(const std::string& Filename, ByteArray& bytes);
    // Replaces the file with exactly these bytes (no old tail survives).
    void ByteArrayToFile(const ByteArray& bytes, const std::string& Filename);
    std::string FileToHex(const std::string& Filename);
    std::string FileToString(const std::string& Filename);
    bool StringToFile(const std::string& Filename, const std::string& Data);
    void HexToFile(const std::string& Filename, const std::string& Data);
    void MoveFile(const std::string& FromFile, const std::string& ToFile);
};

}  // namespace quillet
