use integer;
my ($i, $t, $w, $out) = (0, 0, "catalogue", "");
while ($i < 3000000) {
  $i = $i + 1;
  $out = sprintf("%d:%s", $i, $w);
  $t = $t + length($out);
}
