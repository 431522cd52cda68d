// SPDX-License-Identifier: Apache-2.0
// A plug-in of clang-tidy: lets its checks see what is declared in our own files only. What they find in the headers of
// Qt and OpenCV is thrown away in any case, and looking for it takes two thirds of the time.
#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/AST/DeclGroup.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/CompilerInstance.h>
#include <clang/Frontend/FrontendAction.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class OwnDeclarations : public clang::ASTConsumer
{
public:
    bool HandleTopLevelDecl(clang::DeclGroupRef group) override
    {
        for (clang::Decl *declaration : group) {
            const clang::SourceManager &sources = declaration->getASTContext().getSourceManager();
            if (!sources.isInSystemHeader(sources.getExpansionLoc(declaration->getLocation())))
                mOwn.push_back(declaration);
        }
        return true;
    }

    void HandleTranslationUnit(clang::ASTContext &context) override { context.setTraversalScope(mOwn); }

private:
    std::vector<clang::Decl *> mOwn;
};

/// Comes before the checks by itself, without any argument.
class NarrowScope : public clang::PluginASTAction
{
protected:
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance &, llvm::StringRef) override
    {
        return std::make_unique<OwnDeclarations>();
    }

    bool ParseArgs(const clang::CompilerInstance &, const std::vector<std::string> &) override { return true; }
    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<NarrowScope> registration("own-declarations", "");

} // namespace
