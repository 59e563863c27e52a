#pragma once

#include <string>

namespace pellaro {

/// Hands files and addresses to other programs. Thread: main. What cannot be opened is ignored.
class Workspace {
public:
    virtual ~Workspace() = default;
    virtual void openUrl(const std::string &url) = 0;
    /// Shows the file, selected, in the file manager. @param rootPath folder to root the view at; empty for the usual view.
    virtual void selectFile(const std::string &path, const std::string &rootPath) = 0;
};

} // namespace pellaro
