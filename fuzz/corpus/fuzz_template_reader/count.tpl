@BeginTemplate B
@EndTemplate B
@BeginTemplate C
  @BeginBody
<<x>><<y>>
  @EndBody
  @BeginParameter
    @Name=x
  @EndParameter
@EndTemplate C
