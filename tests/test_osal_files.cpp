// Directory removal.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "core/camkit_private.h"
#include "scratch_dir.h"

namespace {

TEST(OsalDirectories, RemoveDeletesTheTreeButNeverFollowsLinks) {
    ScratchDir dir;
    ScratchDir outside;
    std::string kept = outside.write("keep.txt", "precious");
    std::string root = dir.file("tree");
    EXPECT_EQ(osal_create_directory(root.c_str()), 0);
    ASSERT_EQ(mkdir((root + "/deep").c_str(), 0777), 0);
    dir.write("tree/deep/b.txt", "b");
    ASSERT_EQ(symlink(outside.path().c_str(), (root + "/link").c_str()), 0);
    EXPECT_EQ(osal_remove_directory(root.c_str()), 0);
    EXPECT_FALSE(scratch_file_exists(root));
    EXPECT_EQ(scratch_read_file(kept), "precious");
}

}  // namespace
