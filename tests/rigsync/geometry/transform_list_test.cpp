// SPDX-License-Identifier: Apache-2.0
#include "rigsync/geometry/transform_list.h"

#include <gtest/gtest.h>

namespace {

TEST(TransformList, NumbersGoRowByRow) {
  std::vector<double> List;
  for (int i = 0; i < 16; ++i) List.push_back(i);
  const Eigen::Matrix4d Matrix = rigsync::Matrix_From_List(List);
  EXPECT_EQ(Matrix(0, 3), 3.0);
  EXPECT_EQ(Matrix(2, 1), 9.0);
  EXPECT_EQ(rigsync::List_From_Matrix(Matrix), List);
}

TEST(TransformList, AnotherCountIsNoTransform) {
  EXPECT_TRUE(rigsync::Matrix_From_List({}).array().isNaN().all());
  EXPECT_TRUE(rigsync::Matrix_From_List(std::vector<double>(12, 1.0)).array().isNaN().all());
}

}  // namespace
