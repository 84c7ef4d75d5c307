use integer;
my $i = 0;
my $s = 0;
while ($i < 10000000) {
  $i = $i + 1;
  $s = $s + $i % 7;
}
