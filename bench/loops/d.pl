use integer;
my ($i, $t, $w) = (0, 0, "catalogue");
while ($i < 10000000) {
  $i = $i + 1;
  $t = $t + length($w);
}
